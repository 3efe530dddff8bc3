// Internal to the platform: the counted base of its object-model objects.
#ifndef ZOB_ZOB_COUNTED_IMPL_H
#define ZOB_ZOB_COUNTED_IMPL_H

#include <atomic>
#include <cstdint>
#include <cstdlib>

#include <zob/zob_unknown.h>

namespace zob::detail {

// Reference counting and interface queries for the platform's own objects
// (streams, the registry database). `Also` lists the base interfaces the
// object answers for besides IUnknown and I. Objects start with one
// reference, for their creator.
template <class I, class... Also>
class Counted : public zob::Adapter<I> {
 public:
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override {
    if (!out) return zob::kInvalidArgument;
    if (zobCompareIID(iid, zob::IUnknown::IID) || zobCompareIID(iid, I::IID) ||
        (zobCompareIID(iid, Also::IID) || ...)) {
      addRef();
      *out = this;
      return zob::kOk;
    }
    *out = nullptr;
    return zob::kNoInterface;
  }
  std::uint32_t addRef() override { return refs_.fetch_add(1) + 1; }
  std::uint32_t release() override {
    std::uint32_t before = refs_.fetch_sub(1);
    if (before == 0) std::abort();  // released more often than referenced
    if (before == 1) delete this;
    return before - 1;
  }

 protected:
  virtual ~Counted() = default;

 private:
  std::atomic<std::uint32_t> refs_{1};
};

}  // namespace zob::detail

#endif
