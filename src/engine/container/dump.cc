// The canonical dump of a whole file, through the version-neutral reader.
#include <algorithm>
#include <cstdio>

#include "engine/container/record_reader.h"
#include "engine/records/paired/dump_lines.h"
#include "engine/records/series/record_codec.h"
#include "engine/rules/dates.h"

namespace varnock::engine::container {
namespace {

bool IsPaired(int32_t type) {
  return type >= 200 && type < 210;
}
bool IsText(int32_t type) {
  return type == 300 || type == 310;
}

// ISO 8601 of an instant in seconds from julian 0 (2400 prints as 00:00 of the next day).
void AppendIsoTime(int64_t instant, std::string* out) {
  // Floor division without negating: a damaged record's time may be any 64-bit number.
  const int64_t days = instant / 86400 - (instant % 86400 < 0 ? 1 : 0);
  const int64_t seconds = instant - days * 86400;
  const CivilDate date = JulianToYmd(static_cast<int32_t>(days));
  char text[48];
  const int n = std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02lld:%02lld:%02lld",
                              static_cast<int>(date.year), static_cast<int>(date.month),
                              static_cast<int>(date.day), static_cast<long long>(seconds / 3600),
                              static_cast<long long>(seconds / 60 % 60),
                              static_cast<long long>(seconds % 60));
  out->append(text, static_cast<size_t>(std::max(n, 0)));
}

void AppendText(const char* key, const std::string& text, bool blank_when_empty, std::string* out) {
  out->append(key);
  if (!text.empty() || blank_when_empty) out->push_back(' ');
  out->append(text);
  out->push_back('\n');
}

void SeriesLines(const series::SeriesRead& read, int32_t type, bool blank_when_empty,
                 std::string* out) {
  AppendText("units", read.units, blank_when_empty, out);
  AppendText("type", read.type, blank_when_empty, out);
  out->append("count " + std::to_string(read.values.size()) + "\n");
  const bool doubles = type % 10 >= 5;
  char number[40];
  for (size_t i = 0; i < read.values.size() && i < read.times.size(); ++i) {
    AppendIsoTime(read.times[i], out);
    const int n =
        std::snprintf(number, sizeof number, doubles ? " %.17g\n" : " %.9g\n", read.values[i]);
    out->append(number, static_cast<size_t>(std::max(n, 0)));
  }
}

// The type-specific lines of one record; "unsupported" for kinds the dump does not render
// (also a record whose reader finds another kind under its type, such as a pattern), and
// "error <status>" (the file layer's status number) for one that cannot be read.
std::string RecordLines(RecordReader& reader, const CatalogItem& item, size_t* failed) {
  std::string lines;
  Status s = Status::kOk;
  if (series::IsPlainSeriesType(item.type)) {
    series::SeriesRead read;
    s = reader.ReadSeriesBlock(item, &read);
    if (s == Status::kOk) SeriesLines(read, item.type, reader.BlankAfterEmptySeriesText(), &lines);
  } else if (IsPaired(item.type)) {
    paired::PairedData data;
    s = reader.ReadPaired(item, &data);
    if (s == Status::kOk) lines = paired::PairedDumpLines(data);
  } else if (IsText(item.type)) {
    paired::TextData data;
    s = reader.ReadText(item, &data);
    if (s == Status::kOk) lines = paired::TextDumpLines(data, item.type);
  } else {
    return "unsupported\n";
  }
  if (s == Status::kOk) return lines;
  if (s == Status::kTypeMismatch) return "unsupported\n";
  ++*failed;
  return "error " + std::to_string(static_cast<int32_t>(s)) + "\n";
}

}  // namespace

Status StreamDump(RecordReader& reader, const DumpOptions& options, const DumpSink& sink,
                  DumpCounts* counts) {
  std::vector<CatalogItem> items;
  const Status s = reader.file().Catalog(&items);
  if (s != Status::kOk) return s;
  if (options.select)
    std::erase_if(items,
                  [&](const CatalogItem& item) { return !options.select(item.listed_path); });
  std::sort(items.begin(), items.end(), [](const CatalogItem& a, const CatalogItem& b) {
    return a.listed_path < b.listed_path;
  });
  *counts = DumpCounts{items.size(), 0};
  // Text goes to the sink in pieces of about this size, so memory stays flat however many
  // records the file holds.
  constexpr size_t kFlushBytes = size_t{1} << 20;
  std::string pending = "DSSDUMP 1\nfile_version " + std::to_string(reader.file().MajorVersion()) +
                        "\nrecord_count " + std::to_string(items.size()) + "\n";
  const auto total = static_cast<int64_t>(items.size());
  int64_t done = 0;
  for (const auto& item : items) {
    pending.append("record " + item.listed_path + "\nrectype " + std::to_string(item.type) + "\n");
    pending.append(RecordLines(reader, item, &counts->failed));
    pending.append("end\n");
    if (pending.size() >= kFlushBytes) {
      if (!sink(pending)) return Status::kWriteError;
      pending.clear();
    }
    if (options.progress) options.progress(++done, total);
  }
  pending.append("END\n");
  return sink(pending) ? Status::kOk : Status::kWriteError;
}

Status RenderDump(RecordReader& reader, const DumpOptions& options, std::string* out,
                  DumpCounts* counts) {
  out->clear();
  return StreamDump(
      reader, options,
      [out](std::string_view piece) {
        out->append(piece);
        return true;
      },
      counts);
}

Status RenderDump(RecordReader& reader, std::string* out) {
  DumpCounts counts;
  return RenderDump(reader, {}, out, &counts);
}

}  // namespace varnock::engine::container
