/* The object-model runtime in one include: result codes, allocation and
 * string copies, IUnknown with adapters and the counted reference. */
#ifndef ZOB_ZOB_H
#define ZOB_ZOB_H

#include <zob/zob_api.h>
#include <zob/zob_mem.h>
#include <zob/zob_result.h>
#include <zob/zob_unknown.h>

#endif
