/* Atomic reference-count arithmetic of the portable runtime. Both functions
 * are full barriers and return the new value. */
#ifndef KTZ_KTZ_ATOMIC_H
#define KTZ_KTZ_ATOMIC_H

#include <cstdint>

#include <zob/zob_api.h>

ZOB_API std::int32_t ktzAtomicIncrement(volatile std::int32_t* value);
ZOB_API std::int32_t ktzAtomicDecrement(volatile std::int32_t* value);

#endif
