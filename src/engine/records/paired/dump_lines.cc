#include "engine/records/paired/dump_lines.h"

#include <cstdio>

#include "engine/records/paired/record_layout.h"

namespace varnock::engine::paired {
namespace {

void AppendNumber(double v, bool doubles, std::string* out) {
  char text[40];
  const int n = std::snprintf(text, sizeof text, doubles ? "%.17g" : "%.9g", v);
  out->append(text, static_cast<size_t>(n > 0 ? n : 0));
}

void AppendLine(std::string_view key, std::string_view value, std::string* out) {
  out->append(key);
  out->push_back(' ');
  out->append(value);
  out->push_back('\n');
}

}  // namespace

std::string PairedDumpLines(const PairedData& data) {
  std::string out;
  const size_t rows = data.rows();
  const size_t curves = static_cast<size_t>(data.curve_count);
  AppendLine("ordinates", std::to_string(rows), &out);
  AppendLine("curves", std::to_string(curves), &out);
  // HEC's dumps keep the blank after the key when the text is empty.
  AppendLine("units_independent", data.units_independent, &out);
  AppendLine("type_independent", data.type_independent, &out);
  AppendLine("units_dependent", data.units_dependent, &out);
  AppendLine("type_dependent", data.type_dependent, &out);
  AppendLine("labels", data.has_labels() ? "1" : "0", &out);
  for (size_t k = 0; k < data.labels.size(); ++k)
    AppendLine("label " + std::to_string(k + 1), data.labels[k], &out);
  for (size_t r = 0; r < rows; ++r) {
    out.append("row ");
    AppendNumber(data.ordinates[r], data.doubles, &out);
    for (size_t c = 0; c < curves; ++c) {
      out.push_back(' ');
      AppendNumber(data.Value(c, r), data.doubles, &out);
    }
    out.push_back('\n');
  }
  return out;
}

std::string DumpQuoted(std::string_view bytes) {
  std::string out = "\"";
  for (char ch : bytes) {
    const auto c = static_cast<unsigned char>(ch);
    switch (c) {
      case '\\':
        out.append("\\\\");
        break;
      case '"':
        out.append("\\\"");
        break;
      case '\n':
        out.append("\\n");
        break;
      case '\r':
        out.append("\\r");
        break;
      case '\t':
        out.append("\\t");
        break;
      default:
        if (c < 0x20 || c >= 0x7f) {
          static constexpr char kHex[] = "0123456789ABCDEF";
          out.append("\\x");
          out.push_back(kHex[c >> 4]);
          out.push_back(kHex[c & 15]);
        } else {
          out.push_back(ch);
        }
    }
  }
  out.push_back('"');
  return out;
}

std::string TextDumpLines(const TextData& data, int32_t record_type) {
  std::string out;
  AppendLine("text", DumpQuoted(data.text), &out);
  if (record_type != kTextTable) return out;
  AppendLine("table_rows", std::to_string(data.rows), &out);
  AppendLine("table_cols", std::to_string(data.columns), &out);
  for (size_t r = 0; r < static_cast<size_t>(data.rows); ++r) {
    for (size_t c = 0; c < static_cast<size_t>(data.columns); ++c) {
      AppendLine("cell " + std::to_string(r + 1) + " " + std::to_string(c + 1),
                 DumpQuoted(data.Cell(r, c)), &out);
    }
  }
  return out;
}

}  // namespace varnock::engine::paired
