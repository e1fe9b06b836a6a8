#ifndef RAVENFIT_TOOLS_H
#define RAVENFIT_TOOLS_H

/*
 * The library as a whole: the level of its kernels, its version, texts of statuses, and where reports go.
 *
 * Threads: every function may be called by any number of threads at any time.
 */

#include <stdint.h>

#include <ravenfit/export.h>
#include <ravenfit/version.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The level of the kernels that calls use from now on, 0 to 10. The first call of any operation settles it; so does
 * this one.
 */
RVN_API int32_t rvnLevel(void);

/*
 * Asks for the best level that the processor's features allow, whoever made it, in this process from now on: processors
 * whose vendor string is not GenuineVetra get level 2 otherwise. Processors with AVX-512 (F, BW, DQ and VL) get level 10,
 * which nothing gives but this call and the environment variable RVN_BEST_LEVEL: with any text it does the same at first
 * need. The tridiagonal solver's class follows. There is no way back.
 *
 * What the environment pins stays pinned: RVN_KERNEL_LEVEL_FORCE sets the level, RVN_CBWR caps level and class as on the
 * processors that it applies to, RVN_DEBUG_CPU_TYPE sets the class.
 *
 * May be called at any time. A call in progress finishes with the kernels that it started with, but may take the new class
 * of the solver; later calls use the new ones. Existing tasks and streams stay valid: a task's results
 * may differ in the last bits from those of the level before, a stream's raw outputs are the same.
 *
 * Returns the level in force afterwards, 0 to 10, as rvnLevel does.
 */
RVN_API int32_t rvnUseBestLevel(void);

/* The version of the library that runs, as "0.1.0"; a constant. That of the headers is in ravenfit/version.h. */
RVN_API const char* rvnVersion(void);

/* Where a status comes from: the same number means different things in different domains. */
enum {
  RVN_DOMAIN_FIT = 1,     /* DF_STATUS_OK, DF_ERROR_* */
  RVN_DOMAIN_STREAMS = 2, /* RSG_STATUS_OK, RSG_ERROR_* */
  RVN_DOMAIN_SOLVER = 3   /* info of DDTSVB, DDTTRFB and DDTTRSB */
};

/*
 * What a status means and what to do about it, in English, without a line end. A constant of the library, never null:
 * a status or domain that is not known has a text that says so.
 *
 * domain  RVN_DOMAIN_*.
 * status  what an operation returned; for the solver, its info, of which all numbers above 0 share one text.
 */
RVN_API const char* rvnStatusText(int32_t domain, int32_t status);

/*
 * Takes the report of a bad parameter: one line of text without a line end, which lives as long as the call. It runs in
 * the thread that made the bad call, inside that call, and possibly in several threads at once. It may call the library;
 * it must return normally, and neither throw nor jump out.
 */
typedef void (*RvnMessageHandler)(void* context, const char* text);

/*
 * Sends the reports of bad parameters, of stream operations and of the solver, to a handler. With null they go to
 * standard output, as they do from the start. Statuses stay the same either way.
 *
 * handler  null, or what takes the reports from now on. A report in progress may still reach the previous handler, so
 *          keep its context alive.
 * context  passed to the handler as it is; the library does not look at it.
 */
RVN_API void rvnSetMessageHandler(RvnMessageHandler handler, void* context);

#ifdef __cplusplus
}
#endif

#endif
