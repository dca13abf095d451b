// Reading and writing paired-data and text records, and reading location records, in an open
// DSS-7 file.
//
// Reads return kOk; kNotFound when no record has the path; kTypeMismatch when the record is of
// another kind; kDamaged when its contents do not decode; or the file layer's status.
// Writes return kOk; kExists (plan kOnlyNew) or kNotFound (plan kOnlyExisting) with nothing
// written; kTypeMismatch when a record of another kind has the path; kInvalidArgument for
// inconsistent data or a pathname the file cannot store; or the file layer's status (kReadOnly,
// I/O errors). A failed write leaves the record that was there readable.
#ifndef VARNOCK_ENGINE_RECORDS_PAIRED_RECORD_IO_H_
#define VARNOCK_ENGINE_RECORDS_PAIRED_RECORD_IO_H_

#include <string_view>

#include "engine/dss7/dss_file.h"
#include "engine/records/paired/location_codec.h"
#include "engine/records/paired/paired_codec.h"
#include "engine/records/paired/text_codec.h"

namespace varnock::engine::paired {

// HECLIB's record plans 0, 1 and 2.
enum class WritePlan { kAlways = 0, kOnlyNew = 1, kOnlyExisting = 2 };

// `info`, when given, receives the record's info block whenever the record was found.
dss7::Status ReadPairedData(dss7::DssFile& file, std::string_view path, PairedData* out,
                            dss7::InfoBlock* info = nullptr);
dss7::Status ReadText(dss7::DssFile& file, std::string_view path, TextData* out,
                      dss7::InfoBlock* info = nullptr);
// The location record itself ("/A/B/Location Info////", see dss7::LocationRecordPath).
dss7::Status ReadLocation(dss7::DssFile& file, std::string_view path, LocationData* out,
                          dss7::InfoBlock* info = nullptr);

// The whole record is replaced. A paired-data record of the other precision (or a text
// record of the other text type) is replaced too: HEC deletes it and writes a new one, we
// rewrite it in one step so that a failure keeps it. `program` names the writer in the info
// block (empty: the file's).
dss7::Status WritePairedData(dss7::DssFile& file, std::string_view path, const PairedData& data,
                             WritePlan plan = WritePlan::kAlways, std::string_view program = {});
dss7::Status WriteText(dss7::DssFile& file, std::string_view path, const TextData& data,
                       WritePlan plan = WritePlan::kAlways, std::string_view program = {});

}  // namespace varnock::engine::paired

#endif  // VARNOCK_ENGINE_RECORDS_PAIRED_RECORD_IO_H_
