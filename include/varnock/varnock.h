// Varnock: an object model for hydrologic data kept in HEC-DSS files.
#ifndef VARNOCK_VARNOCK_H_
#define VARNOCK_VARNOCK_H_

#include "varnock/create_object.h"
#include "varnock/database.h"
#include "varnock/date.h"
#include "varnock/dictionary.h"
#include "varnock/error.h"
#include "varnock/heclib.h"
#include "varnock/interfaces.h"
#include "varnock/irregular_time_series.h"
#include "varnock/object.h"
#include "varnock/paired_data.h"
#include "varnock/pathname.h"
#include "varnock/recordset.h"
#include "varnock/regular_time_series.h"
#include "varnock/statistics.h"
#include "varnock/variant.h"
#include "varnock/variant_array.h"

#endif  // VARNOCK_VARNOCK_H_
