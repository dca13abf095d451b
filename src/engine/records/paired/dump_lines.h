// The type-specific lines of the canonical dump ("DSSDUMP 1") for paired-data and text
// records: what follows the "rectype" line of a record block, up to (not including) "end".
// Each line ends with '\n'.
#ifndef VARNOCK_ENGINE_RECORDS_PAIRED_DUMP_LINES_H_
#define VARNOCK_ENGINE_RECORDS_PAIRED_DUMP_LINES_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/records/paired/paired_codec.h"
#include "engine/records/paired/text_codec.h"

namespace varnock::engine::paired {

// Numbers as %.9g for float records and %.17g for double records.
std::string PairedDumpLines(const PairedData& data);

// The "text" line, and for type 310 the table lines.
std::string TextDumpLines(const TextData& data, int32_t record_type);

// Quoted, with \\ \" \n \r \t and \xHH for other bytes below 0x20 or from 0x7f.
std::string DumpQuoted(std::string_view bytes);

}  // namespace varnock::engine::paired

#endif  // VARNOCK_ENGINE_RECORDS_PAIRED_DUMP_LINES_H_
