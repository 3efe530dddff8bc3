/* IdleCalloutBase: the object-model side of an idle callout, so that a
 * component only writes the work itself.
 *
 * A derived class implements onIdle(); the base answers queries for
 * "IDL:zob/IUnknown:1.0" and "IDL:qor/quv/fw/IIdleCallout:1.0" and counts
 * references (starting at 0; the last release() deletes the object). The
 * callout runs once it is registered with the application's
 * IApplication2::addIdleCallout, which holds a reference until
 * removeIdleCallout.
 *
 *   class Autosave : public IdleCalloutBase {
 *     ZResult onIdle() override { return saveIfDirty(); }
 *   };
 *   zob::Ref<Autosave> a(new Autosave);
 *   app2->addIdleCallout(a.get());
 *
 * Thread rules: the reference count is atomic. */
#ifndef KELP_UTIL_UTL_IDLECALLOUT_H
#define KELP_UTIL_UTL_IDLECALLOUT_H

#include <cstdint>

#include <fw/fw_IIdleCallout.h>
#include <kelp/kelp_api.h>
#include <zob/zob_unknown.h>

namespace qor::quv::util {

class KELP_API IdleCalloutBase : public fw::IIdleCallout_Adapter {
 public:
  IdleCalloutBase() = default;
  IdleCalloutBase(const IdleCalloutBase&) = delete;
  IdleCalloutBase& operator=(const IdleCalloutBase&) = delete;

  /* Accepts "IDL:zob/IUnknown:1.0" and "IDL:qor/quv/fw/IIdleCallout:1.0";
   * any other id gives 0x80000004 and a null *out. */
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t addRef() override;
  /* Deletes the object when the count reaches zero. */
  std::uint32_t release() override;

 protected:
  virtual ~IdleCalloutBase();

 private:
  std::int32_t count_ = 0;
};

}  // namespace qor::quv::util

#endif
