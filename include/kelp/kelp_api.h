/* Export macro of libkelp. Classes and functions of the public API are
 * marked KELP_API; the build hides everything else and a version script
 * limits the exported symbols to the library's namespaces. */
#ifndef KELP_KELP_API_H
#define KELP_KELP_API_H

#define KELP_API __attribute__((visibility("default")))

#endif
