#include "engine/records/paired/text_codec.h"

#include "engine/dss7/layout.h"
#include "engine/records/paired/area_bytes.h"
#include "engine/records/paired/record_layout.h"

namespace varnock::engine::paired {

using dss7::Status;

int32_t TextData::record_type() const {
  return columns > 1 ? kTextTable : kText;
}

Status DecodeText(const dss7::Record& record, TextData* out) {
  return NoThrow([&]() -> Status {
    if (!IsTextType(record.info.type)) return Status::kTypeMismatch;
    const std::span<const int32_t> header = record.areas[dss7::kInternalHeader];
    if (header.size() < static_cast<size_t>(text_header::kMinInts)) return Status::kDamaged;
    const int64_t text_bytes = header[text_header::kTextBytes];
    const int64_t table_bytes = header[text_header::kTableBytes];
    const int64_t label_bytes = header[text_header::kLabelBytes];
    const int64_t rows = header[text_header::kRows];
    const int64_t columns = header[text_header::kColumns];
    auto fits = [&](int64_t bytes, int area) {
      return bytes >= 0 && bytes <= 4 * static_cast<int64_t>(record.areas[area].size());
    };
    if (!fits(text_bytes, dss7::kValues1) || !fits(table_bytes, dss7::kValues2) ||
        !fits(label_bytes, dss7::kHeader2) || rows < 0 || columns < 0) {
      return Status::kDamaged;
    }
    // Every cell and label takes at least its NUL, so larger counts cannot be real.
    if (columns > 0 && rows > table_bytes / columns) return Status::kDamaged;
    // Rows without columns hold nothing; a count beyond the table's bytes is not real either.
    if (rows > table_bytes + 1) return Status::kDamaged;
    if (label_bytes > 0 && columns > label_bytes) return Status::kDamaged;

    TextData d;
    d.text = AreaBytes(record.areas[dss7::kValues1], static_cast<size_t>(text_bytes));
    if (!d.text.empty() && d.text.back() == '\0') d.text.pop_back();
    d.rows = static_cast<int32_t>(rows);
    d.columns = static_cast<int32_t>(columns);
    d.cells =
        SplitStrings(AreaBytes(record.areas[dss7::kValues2], static_cast<size_t>(table_bytes)),
                     static_cast<size_t>(rows * columns));
    if (label_bytes > 0) {
      d.column_labels =
          SplitStrings(AreaBytes(record.areas[dss7::kHeader2], static_cast<size_t>(label_bytes)),
                       static_cast<size_t>(columns));
    }
    d.user_header.assign(record.areas[dss7::kUserHeader].begin(),
                         record.areas[dss7::kUserHeader].end());
    *out = std::move(d);
    return Status::kOk;
  });
}

Status EncodeText(const TextData& data, EncodedRecord* out) {
  return NoThrow([&]() -> Status {
    const int64_t rows = data.rows;
    const int64_t columns = data.columns;
    if (rows < 0 || columns < 0 || static_cast<int64_t>(data.cells.size()) != rows * columns ||
        (!data.column_labels.empty() &&
         static_cast<int64_t>(data.column_labels.size()) != columns)) {
      return Status::kInvalidArgument;
    }
    std::string text = data.text;
    if (!text.empty()) text.push_back('\0');
    const std::string table = JoinStrings(data.cells);
    const std::string labels = JoinStrings(data.column_labels);
    constexpr int64_t kMaxBytes = 4 * dss7::kMaxAreaInt32;
    for (size_t bytes : {text.size(), table.size(), labels.size()}) {
      if (static_cast<int64_t>(bytes) > kMaxBytes) return Status::kInvalidArgument;
    }
    if (static_cast<int64_t>(data.user_header.size()) > dss7::kMaxAreaInt32) {
      return Status::kInvalidArgument;
    }

    EncodedRecord r;
    r.type = data.record_type();
    auto& header = r.areas[dss7::kInternalHeader];
    header.assign(text_header::kInts, 0);
    header[text_header::kTextBytes] = static_cast<int32_t>(text.size());
    header[text_header::kTableBytes] = static_cast<int32_t>(table.size());
    header[text_header::kLabelBytes] = static_cast<int32_t>(labels.size());
    header[text_header::kRows] = data.rows;
    header[text_header::kColumns] = data.columns;
    r.areas[dss7::kHeader2] = IntsOfBytes(labels);
    r.areas[dss7::kUserHeader] = data.user_header;
    r.areas[dss7::kValues1] = IntsOfBytes(text);
    r.areas[dss7::kValues2] = IntsOfBytes(table);
    *out = std::move(r);
    return Status::kOk;
  });
}

}  // namespace varnock::engine::paired
