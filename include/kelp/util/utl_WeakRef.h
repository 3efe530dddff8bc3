/* Weak references: handles that share a counted WeakRefData with the
 * object's own handle and see the object as gone once that handle dies.
 *
 * The object holds the owner handle, WeakRefBase(this); everybody else holds
 * copies of it. When the owner handle is destroyed it sets the shared
 * pointer to null, so every copy then answers isNull() and getRef() null;
 * the shared data lives on until the last handle is gone.
 *
 * Thread rules: the count changes with atomic operations, so
 * handles may be copied and dropped on different threads at once. Setting
 * the pointer to null is a plain store: the owner must be destroyed while no
 * other thread looks at the object through a copy. One handle object is not
 * to be assigned on one thread while used on another.
 *
 *   class Node {
 *    public:
 *     Node() : self_(this) {}
 *     WeakRefBase weak() const { return self_; }
 *    private:
 *     WeakRefBase self_;
 *   };
 */
#ifndef KELP_UTIL_UTL_WEAKREF_H
#define KELP_UTIL_UTL_WEAKREF_H

#include <cstdint>

#include <kelp/kelp_api.h>

namespace qor::quv::util {

/* The block shared by a weak reference and its copies: a count and the
 * pointer to the object (null once the object is gone). Created with a
 * count of 1; deleted by the release that brings the count to 0. */
class KELP_API WeakRefData {
 public:
  explicit WeakRefData(void* object) : object_(object) {}
  WeakRefData(const WeakRefData&) = delete;
  WeakRefData& operator=(const WeakRefData&) = delete;

  /* Atomic increment; returns the new count. */
  std::int32_t addRef() { return __atomic_add_fetch(&count_, 1, __ATOMIC_RELAXED); }
  /* Atomic decrement; deletes the data at zero and ends the process with
   * abort() when the count falls below zero. Returns the new count. */
  std::int32_t release() {
    const std::int32_t n = __atomic_sub_fetch(&count_, 1, __ATOMIC_ACQ_REL);
    if (n <= 0) released(n);
    return n;
  }

  void* getRef() const { return object_; }
  void setRef(void* object) { object_ = object; }
  /* The current count (for diagnostics and tests). */
  std::int32_t getCount() const;

 private:
  ~WeakRefData() = default;
  /* Deletes the data at zero, aborts below. */
  void released(std::int32_t count);
  volatile std::int32_t count_ = 1;
  void* object_;
};

class KELP_API WeakRefBase {
 public:
  /* A handle on new data with a null pointer; not owner. */
  WeakRefBase();
  /* The owner handle of `object`. */
  explicit WeakRefBase(void* object);
  /* Shares the other's data; never owner. */
  WeakRefBase(const WeakRefBase& other) : data_(other.data_), owner_(false) {
    if (data_) data_->addRef();
  }
  /* Shares the other's data; this handle's owner flag is kept. */
  WeakRefBase& operator=(const WeakRefBase& other);
  /* The owner first clears the shared pointer; then the data is released. */
  ~WeakRefBase() {
    if (!data_) return;
    if (owner_) data_->setRef(nullptr);
    data_->release();
  }

  bool isNull() const { return getRef() == nullptr; }
  void* getRef() const { return data_ ? data_->getRef() : nullptr; }
  bool isOwner() const { return owner_; }
  /* The shared data (for diagnostics and tests). */
  const WeakRefData* getData() const { return data_; }

  /* Compare the referenced objects, not the shared data. */
  bool operator==(const WeakRefBase& other) const { return getRef() == other.getRef(); }
  bool operator!=(const WeakRefBase& other) const { return getRef() != other.getRef(); }

 private:
  WeakRefData* data_;  // null only when allocating it failed
  bool owner_;
};

}  // namespace qor::quv::util

#endif
