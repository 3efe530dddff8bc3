/* The object model: zob::IUnknown, interface adapters and zob::Ref.
 *
 * Interfaces are abstract classes derived from zob::IUnknown and named by an
 * IDL repository id (static member IID, e.g. "IDL:zob/IUnknown:1.0"),
 * compared with zobCompareIID. Objects are reference counted: every
 * interface pointer handed out (by a query or an out-parameter) carries one
 * reference that the receiver releases.
 *
 * Implementations derive from zob::Adapter<IFoo> (spelled IFoo_Adapter by
 * each interface header), which forwards the object-model entry points
 * _comQueryInterface, _comAddRef, _comRelease and _comGetInterfaceId to the
 * implementation's queryInterface, addRef, release and getInterfaceId.
 *
 * zob::Ref<T> holds one counted reference; it is the one holder used across
 * the code base:
 *
 *   zob::Ref<fw::ILogger> logger;
 *   if (!EFAILED(app->getLogger(logger.out()))) logger->error(cat, text);
 */
#ifndef ZOB_ZOB_UNKNOWN_H
#define ZOB_ZOB_UNKNOWN_H

#include <cstdint>
#include <cstring>
#include <utility>

#include <zob/zob_api.h>
#include <zob/zob_result.h>

namespace zob {

class IUnknown {
 public:
  static constexpr char IID[] = "IDL:zob/IUnknown:1.0";

  virtual ZResult _comQueryInterface(const char* iid, IUnknown** out) = 0;
  virtual std::uint32_t _comAddRef() = 0;
  virtual std::uint32_t _comRelease() = 0;
  /* The repository id of the interface this pointer was handed out as; used
   * in diagnostics of failed queries. */
  virtual const char* _comGetInterfaceId() = 0;

 protected:
  ~IUnknown() = default;
};

/* Implements the IUnknown entry points of interface I by forwarding them to
 * the operations an implementation provides. An interface may itself list
 * getInterfaceId among its operations; the adapter's then overrides it, which
 * cannot be spelled `override` for every I, hence the pragma. */
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Winconsistent-missing-override"
#endif
template <class I>
class Adapter : public I {
 public:
  ZResult _comQueryInterface(const char* iid, IUnknown** out) override {
    return queryInterface(iid, out);
  }
  std::uint32_t _comAddRef() override { return addRef(); }
  std::uint32_t _comRelease() override { return release(); }
  const char* _comGetInterfaceId() override { return getInterfaceId(); }

  virtual ZResult queryInterface(const char* iid, IUnknown** out) = 0;
  virtual std::uint32_t addRef() = 0;
  virtual std::uint32_t release() = 0;
  virtual const char* getInterfaceId() { return I::IID; }

 protected:
  ~Adapter() = default;
};
#if defined(__clang__)
#pragma clang diagnostic pop
#endif

/* Counted reference: addRef on copy, release on destruction. */
template <class T>
class Ref {
 public:
  Ref() = default;
  Ref(std::nullptr_t) {}
  /* Takes a new reference to p. */
  explicit Ref(T* p) : p_(p) {
    if (p_) p_->_comAddRef();
  }
  Ref(const Ref& o) : Ref(o.p_) {}
  Ref(Ref&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  ~Ref() { reset(); }
  Ref& operator=(const Ref& o) {
    Ref(o).swap(*this);
    return *this;
  }
  Ref& operator=(Ref&& o) noexcept {
    Ref(std::move(o)).swap(*this);
    return *this;
  }

  /* Wraps a pointer that already carries one reference (e.g. from `new`
   * with a count of 1, or from an out-parameter). */
  static Ref adopt(T* p) {
    Ref r;
    r.p_ = p;
    return r;
  }

  void reset() {
    if (T* p = std::exchange(p_, nullptr)) p->_comRelease();
  }
  /* Gives up the reference without releasing it. */
  T* detach() { return std::exchange(p_, nullptr); }
  /* Releases the current reference and returns the slot for an
   * out-parameter that hands back a new one. */
  T** out() {
    reset();
    return &p_;
  }
  void swap(Ref& o) noexcept { std::swap(p_, o.p_); }

  T* get() const { return p_; }
  T* operator->() const { return p_; }
  T& operator*() const { return *p_; }
  explicit operator bool() const { return p_ != nullptr; }

 private:
  T* p_ = nullptr;
};

}  // namespace zob

/* True when two repository ids name the same interface. */
ZOB_API bool zobCompareIID(const char* a, const char* b);

namespace zob {

/* Queries obj for interface T; on success out holds a new reference. */
template <class T>
ZResult query(IUnknown* obj, Ref<T>& out) {
  out.reset();
  if (!obj) return kInvalidArgument;
  IUnknown* p = nullptr;
  ZResult r = obj->_comQueryInterface(T::IID, &p);
  if (EFAILED(r)) {
    if (p) p->_comRelease();
    return r;
  }
  if (!p) return kNoInterface;
  out = Ref<T>::adopt(static_cast<T*>(p));
  return r;
}

}  // namespace zob

#endif
