/* The mark of everything that libtsh exports: C linkage and default visibility, for functions and
 * for globals alike. Whatever is declared without it stays inside the library. */
#ifndef TSH_PLATFORM_TSH_API_H
#define TSH_PLATFORM_TSH_API_H

#ifdef __cplusplus
#define TSH_API extern "C" __attribute__((visibility("default")))
#else
#define TSH_API extern __attribute__((visibility("default")))
#endif

#endif
