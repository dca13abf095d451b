// Reading a window of a DSS-6 series across its block records, as HECLIB 6's ZRRTS and ZRITS
// do: every block in the window is looked up in turn; absent blocks leave their slots empty.
#ifndef VARNOCK_ENGINE_DSS6_WINDOW_H_
#define VARNOCK_ENGINE_DSS6_WINDOW_H_

#include <cstdint>
#include <string_view>

#include "engine/dss6/dss6_file.h"
#include "engine/dss6/store.h"
#include "engine/records/series/series.h"

namespace varnock::engine::dss6 {

// `count` slots from the slot holding `start` (moved forward to a standard time). Slots of
// absent blocks read -901 and are listed in out->absent; out->last describes the last block
// found. kNotFound when no block of the window exists.
series::SeriesStatus ReadRegularWindow(Dss6File& file, std::string_view path, Minutes start,
                                       int64_t count, series::SeriesRead* out);
// The whole DSS-6 block a regular path's D part names (a date of at least 5 characters): the
// standard time of its first slot and its slot count (521 or 522 for weekly blocks).
series::SeriesStatus RegularBlockWindow(std::string_view path, Minutes* start, int64_t* count);
// Every value with first <= time <= last, from the blocks holding them (a "~" E part reads the
// IR- blocks its interval picks). kNotFound when no block of the window exists.
series::SeriesStatus ReadIrregularWindow(Dss6File& file, std::string_view path, Minutes first,
                                         Minutes last, series::SeriesRead* out);

}  // namespace varnock::engine::dss6

#endif  // VARNOCK_ENGINE_DSS6_WINDOW_H_
