#ifndef RAVENFIT_EXPORT_H
#define RAVENFIT_EXPORT_H

/* Marks what the shared libraries export. */
#if defined(__GNUC__) && !defined(_WIN32)
#define RVN_API __attribute__((visibility("default")))
#else
#define RVN_API
#endif

#endif
