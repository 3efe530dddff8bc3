/* qor::quv::fw::IIdleCallout: work the application runs when it is idle.
 *
 * A callout is registered with IApplication2::addIdleCallout (the
 * application holds a reference) and runs on every idle turn of the
 * application until it is removed with removeIdleCallout. */
#ifndef FW_FW_IIDLECALLOUT_H
#define FW_FW_IIDLECALLOUT_H

#include <zob/zob_unknown.h>

namespace qor::quv::fw {

class IIdleCallout : public zob::IUnknown {
 public:
  static constexpr char IID[] = "IDL:qor/quv/fw/IIdleCallout:1.0";

  /* One idle turn. The application does not act on the result. */
  virtual ZResult onIdle() = 0;

 protected:
  ~IIdleCallout() = default;
};

using IIdleCallout_Adapter = zob::Adapter<IIdleCallout>;

}  // namespace qor::quv::fw

#endif
