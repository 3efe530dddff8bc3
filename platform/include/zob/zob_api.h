/* Export macro of libkelp-platform. Every platform function and class that
 * libkelp, the host or applications call is marked ZOB_API; everything else
 * stays hidden. */
#ifndef ZOB_ZOB_API_H
#define ZOB_ZOB_API_H

#define ZOB_API __attribute__((visibility("default")))

#endif
