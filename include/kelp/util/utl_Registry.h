/* Registry: opening the roots and the module keys of the registry database.
 *
 * All functions are static. They make the database through the object
 * model (zobCreateInstance of class "071d093c-8cce-11d5-bfd3-0000e2430653",
 * interface "IDL:zob/regdb/IRegistry:1.0"), a new instance for each call, and
 * hand out RegNodes, closed on failure. Failures are logged at debug level
 * with the given application.
 *
 * Module keys lie below a vendor key and a product key: the library's own
 * settings under "Brindlecraft/<library key>/<module>" (library key "QUV"
 * unless changed with setQUVRegistryKey), the application's under
 * "<vendor key>/<application key>/<module>" as the application reports them
 * (IApplication5). Opened for writing, missing keys on the way are made.
 *
 *   RegNode n = Registry::openCurrentUserAppModule(app, "Export", false);
 *   n.put("lastFolder", folder);
 *
 * Thread rules: the library key is process-wide and unguarded; set it once at
 * start-up. Everything else may be called from any thread. */
#ifndef KELP_UTIL_UTL_REGISTRY_H
#define KELP_UTIL_UTL_REGISTRY_H

#include <fw/fw_IApplication.h>
#include <kelp/kelp_api.h>
#include <kelp/util/utl_RegNode.h>
#include <zob/zob_regdb.h>

namespace qor::quv::util {

class KELP_API Registry {
 public:
  Registry() = delete;

  /* A new registry database instance with one reference, or null. */
  static zob::regdb::IRegistry* getRegistry(fw::IApplication* app);

  /* The root of a hive, read-only (access mask 716) or read/write (1023). */
  static RegNode open(fw::IApplication* app, bool readOnly, bool localMachine);
  static RegNode openLocalMachine(fw::IApplication* app, bool readOnly);
  static RegNode openCurrentUser(fw::IApplication* app, bool readOnly);

  /* The key key1/key2/key3 below the root, one component at a time (a key
   * may hold several, "Vendor/App"); null keys are skipped. Writable,
   * missing components are made. */
  static RegNode openModule(fw::IApplication* app, const char* key1, const char* key2,
                            const char* key3, bool readOnly, bool localMachine);

  static RegNode openLocalMachineQUVModule(fw::IApplication* app, const char* module,
                                           bool readOnly);
  static RegNode openCurrentUserQUVModule(fw::IApplication* app, const char* module, bool readOnly);

  static RegNode openAppModule(fw::IApplication* app, const char* module, bool readOnly,
                               bool localMachine);
  static RegNode openLocalMachineAppModule(fw::IApplication* app, const char* module,
                                           bool readOnly);
  static RegNode openCurrentUserAppModule(fw::IApplication* app, const char* module, bool readOnly);

  /* The library's registry key ("QUV" initially); setting null restores it. */
  static const char* getQUVRegistryKey();
  static void setQUVRegistryKey(const char* key);
};

}  // namespace qor::quv::util

#endif
