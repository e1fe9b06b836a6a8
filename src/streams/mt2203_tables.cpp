#include "streams/tables/mt2203_tables.h"
