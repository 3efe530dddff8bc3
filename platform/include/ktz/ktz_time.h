/* Wall-clock time of the portable runtime.
 *
 * KtzTime is a point on the system's real-time clock (seconds and
 * microseconds since the epoch); it is also the form of the absolute
 * deadlines taken by ktzCondVarTimedWait. */
#ifndef KTZ_KTZ_TIME_H
#define KTZ_KTZ_TIME_H

#include <cstdint>

#include <zob/zob_api.h>
#include <zob/zob_result.h>

struct KtzTime {
  std::int64_t seconds = 0;
  std::int32_t microseconds = 0;  // 0 to 999999
};

/* Reads the real-time clock into *now. Fails with zob::kInvalidArgument for
 * a null argument. */
ZOB_API ZResult ktzGetCurrentTime(KtzTime* now);

#endif
