// Factories of the platform's own classes, listed in zob_factory.cpp's table.
#ifndef ZOB_SRC_ZOB_CLASSES_H
#define ZOB_SRC_ZOB_CLASSES_H

#include <zob/zob_unknown.h>

namespace zob::detail {

/* The registry database on SQLite (zob_regdb.cpp). */
ZResult createRegistry(IUnknown** out);

}  // namespace zob::detail

#endif
