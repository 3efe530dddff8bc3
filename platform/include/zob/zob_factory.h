/* Creating objects by class id: zobCreateInstance and the class table.
 *
 * Classes are named by a UUID text ("071d093c-8cce-11d5-bfd3-0000e2430653",
 * compared without regard to case). The platform registers its own classes
 * (the registry database); a host adds more, or replaces one, with
 * zobRegisterClass. Each call
 * of a factory makes a new object.
 *
 *   zob::Ref<zob::regdb::IRegistry> reg;
 *   ZResult r = zobCreateInstance(zob::regdb::kRegistryClassId, zob::regdb::IRegistry::IID,
 *                                 reinterpret_cast<zob::IUnknown**>(reg.out()));
 *
 * The class table is guarded by a lock; any thread may create instances. */
#ifndef ZOB_ZOB_FACTORY_H
#define ZOB_ZOB_FACTORY_H

#include <zob/zob_api.h>
#include <zob/zob_result.h>
#include <zob/zob_unknown.h>

/* Makes a new object and hands out a new reference to it in *out. */
using ZobClassFactory = ZResult (*)(zob::IUnknown** out);

/* Makes an instance of `classId` and queries it for `iid`; on success *out
 * holds the one reference, cast to `iid`'s interface. An unknown class gives
 * zob::kNotFound, an object without the interface zob::kNoInterface; *out is
 * then null. */
ZOB_API ZResult zobCreateInstance(const char* classId, const char* iid, zob::IUnknown** out);

/* Adds a class, or replaces the factory of a known one (the platform's own
 * classes included: a host may bring its own registry database). */
ZOB_API ZResult zobRegisterClass(const char* classId, ZobClassFactory factory);
/* Removes a class added with zobRegisterClass, or gives a platform class its
 * own factory back; zob::kNotFound for an unknown class,
 * zob::kPermissionDenied for a platform class that was not replaced. */
ZOB_API ZResult zobUnregisterClass(const char* classId);

#endif
