/* qor::quv::types::RoundingMode: how a value scaled to a number of decimals
 * is rounded to an integer, as the host framework numbers the modes. Values
 * outside 1 to 9 mean no rounding, as eRoundingNone. */
#ifndef FW_FW_ROUNDINGMODE_H
#define FW_FW_ROUNDINGMODE_H

#include <cstdint>

namespace qor::quv::types {

enum RoundingMode : std::int32_t {
  eRoundingNone = 1,      // the value stays as it is
  eRoundingExact = 2,     // the runtime's exact rounding (its current decimal
                          // rounding, normally half to even); for money: the
                          // default money rounding mode
  eRoundingUp = 3,        // away from zero
  eRoundingDown = 4,      // toward zero
  eRoundingCeiling = 5,   // toward positive infinity
  eRoundingFloor = 6,     // toward negative infinity
  eRoundingHalfUp = 7,    // to nearest, half away from zero
  eRoundingHalfDown = 8,  // to nearest, half toward zero
  eRoundingIntegral = 9   // the runtime's exact rounding, for money too
};

}  // namespace qor::quv::types

#endif
