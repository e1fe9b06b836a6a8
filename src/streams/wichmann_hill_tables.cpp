#include "streams/tables/wichmann_hill_tables.h"
