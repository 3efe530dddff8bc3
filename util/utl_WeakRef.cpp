// Weak references: the shared counted block and the handles on it.
#define QUV_SOURCE_NAME "utl_WeakRef"
#include <kelp/util/utl_WeakRef.h>

#include <cstdlib>
#include <new>

namespace qor::quv::util {

// The counts change with the compiler's atomic operations (inline in the
// header): a reference taken needs no ordering, the last release must see
// every earlier write.
void WeakRefData::released(std::int32_t count) {
  if (count == 0)
    delete this;
  else
    std::abort();  // released more often than referenced: memory is corrupt
}

std::int32_t WeakRefData::getCount() const {
  return __atomic_load_n(&count_, __ATOMIC_SEQ_CST);
}

// Without memory for the data a handle stays empty: it reports the object as
// gone, which is all a caller of a weak reference must be prepared for.
WeakRefBase::WeakRefBase() : data_(new (std::nothrow) WeakRefData(nullptr)), owner_(false) {}

WeakRefBase::WeakRefBase(void* object)
    : data_(new (std::nothrow) WeakRefData(object)), owner_(true) {}

WeakRefBase& WeakRefBase::operator=(const WeakRefBase& other) {
  // Reference first: with self-assignment (or two handles on one block) the
  // release must not free the block being shared.
  WeakRefData* shared = other.data_;
  if (shared) shared->addRef();
  if (data_) data_->release();
  data_ = shared;
  return *this;
}

}  // namespace qor::quv::util
