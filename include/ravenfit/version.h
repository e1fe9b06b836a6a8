#ifndef RAVENFIT_VERSION_H
#define RAVENFIT_VERSION_H

/* Version of the headers; the CMake and pkg-config packages carry the same numbers. */
#define RAVENFIT_VERSION_MAJOR 0
#define RAVENFIT_VERSION_MINOR 1
#define RAVENFIT_VERSION_PATCH 0

#endif
