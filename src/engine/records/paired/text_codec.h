// Text records: type 300 (a text string, optionally with a table of at most one column) and
// 310 (a text table of more than one column), decoded from and encoded to their int32 areas.
#ifndef VARNOCK_ENGINE_RECORDS_PAIRED_TEXT_CODEC_H_
#define VARNOCK_ENGINE_RECORDS_PAIRED_TEXT_CODEC_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/dss7/dss_file.h"
#include "engine/records/paired/encoded_record.h"

namespace varnock::engine::paired {

struct TextData {
  // The stored bytes without the NUL HEC writes after them; may hold other NULs.
  std::string text;
  int32_t rows = 0;
  int32_t columns = 0;
  std::vector<std::string> cells;          // row-major, rows * columns
  std::vector<std::string> column_labels;  // none, or one per column
  std::vector<int32_t> user_header;

  int32_t record_type() const;  // 310 when the table has more than one column
  const std::string& Cell(size_t row, size_t column) const {
    return cells[row * static_cast<size_t>(columns) + column];
  }
};

// kOk; kTypeMismatch for types other than 300 and 310; kDamaged when the byte counts or the
// table size do not fit the areas. Cells and labels missing from their areas read as empty.
dss7::Status DecodeText(const dss7::Record& record, TextData* out);

// kOk, or kInvalidArgument for negative sizes, a cell count other than rows * columns,
// labels neither none nor one per column, or an area above the file's limit. Non-empty text
// is stored with a NUL after it, as HEC stores C strings.
dss7::Status EncodeText(const TextData& data, EncodedRecord* out);

}  // namespace varnock::engine::paired

#endif  // VARNOCK_ENGINE_RECORDS_PAIRED_TEXT_CODEC_H_
