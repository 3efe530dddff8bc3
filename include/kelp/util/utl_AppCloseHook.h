/* AppCloseHookBase: a close hook that registers itself with the
 * application, so that a component only writes the callback.
 *
 * The constructor keeps a reference to the application and registers the
 * hook through IApplication2::addCloseHook with the given order; the
 * application then holds a reference to the hook, so it lives at least until
 * reset() removes it again. The owner calls reset() when the hook is no
 * longer wanted; the last release() then deletes it. The destructor does not
 * unregister. Failures are reported as assertions (debug messages) and the
 * object goes on without registration; nothing throws.
 *
 *   class SaveOnClose : public AppCloseHookBase {
 *    public:
 *     explicit SaveOnClose(IApplication* app) : AppCloseHookBase(app, 100) {}
 *     ZResult onAppClose(int* veto) override { *veto = !save(); return 0; }
 *   };
 *   zob::Ref<SaveOnClose> hook(new SaveOnClose(app));
 *   ...
 *   hook->reset();
 *
 * Thread rules: the reference count is atomic; registration and removal run
 * on the caller's thread. */
#ifndef KELP_UTIL_UTL_APPCLOSEHOOK_H
#define KELP_UTIL_UTL_APPCLOSEHOOK_H

#include <cstdint>

#include <fw/fw_IAppCloseHook.h>
#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <zob/zob_unknown.h>

namespace qor::quv::util {

class KELP_API AppCloseHookBase : public fw::IAppCloseHook_Adapter {
 public:
  /* Keeps `app` and registers the hook with `order`, passed on unchanged. */
  AppCloseHookBase(fw::IApplication* app, int order);
  AppCloseHookBase(const AppCloseHookBase&) = delete;
  AppCloseHookBase& operator=(const AppCloseHookBase&) = delete;

  /* Accepts "IDL:zob/IUnknown:1.0" and "IDL:qor/quv/fw/IAppCloseHook:1.0";
   * any other id gives 0x80000004 and a null *out. */
  ZResult queryInterface(const char* iid, zob::IUnknown** out) override;
  std::uint32_t addRef() override;
  /* Deletes the object when the count reaches zero. */
  std::uint32_t release() override;

  /* Unregisters the hook and lets go of the application; a second call does
   * nothing. */
  void reset();

 protected:
  virtual ~AppCloseHookBase();

 private:
  std::int32_t count_ = 0;
  fw::IApplication* app_;
};

}  // namespace qor::quv::util

#endif
