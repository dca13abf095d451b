#include <string>

#include "engine/container/record_file.h"
#include "engine/container/record_writer.h"
#include "engine/records/paired/record_io.h"
#include "engine/records/series/record_codec.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine::container {
namespace {

bool IsSeries(int32_t type) {
  return type == 100 || type == 105 || type == 110 || type == 115;
}

// DSS-6 hands blank texts back padded with blanks; a copy keeps the text, not the artefact.
void Trim(std::string* text) {
  *text = std::string(TrimTrailingBlanks(*text));
}

class Dss7RecordWriter final : public RecordWriter {
 public:
  explicit Dss7RecordWriter(dss7::DssFile& file) : file_(file) {}
  int MajorVersion() const override { return 7; }
  double NeverWritten() const override { return series::kUndefinedDouble; }

  Status StoreSeriesBlock(std::string_view path, int32_t type,
                          const series::SeriesRead& b) override {
    series::SeriesStatus s;
    const bool doubles = type % 10 >= 5;
    if (type >= 110) {
      series::IrregularStore r;
      Fill(b, doubles, &r);
      r.path = path;
      r.times = b.times;
      s = series::StoreIrregular(file_, r);
    } else {
      series::RegularStore r;
      Fill(b, doubles, &r);
      r.path = path;
      r.start = b.times.front();
      s = series::StoreRegular(file_, r);
    }
    if (s.ok()) return Status::kOk;
    return s.code == series::SeriesCode::kFile ? s.file : Status::kInvalidArgument;
  }
  Status StorePaired(std::string_view path, const paired::PairedData& data) override {
    return paired::WritePairedData(file_, path, data);
  }
  Status StoreText(std::string_view path, const paired::TextData& data) override {
    return paired::WriteText(file_, path, data);
  }

 private:
  static void Fill(const series::SeriesRead& b, bool doubles, series::SeriesInput* in) {
    in->values = b.values;
    in->doubles = doubles;
    in->quality = b.quality;
    in->quality_size = b.quality_size;
    in->units = b.units;
    in->type = b.type;
    in->precision = b.precision;
    in->user_header = b.user_header;
  }
  dss7::DssFile& file_;
};

}  // namespace

std::unique_ptr<RecordWriter> MakeDss7RecordWriter(dss7::DssFile& file) {
  return std::make_unique<Dss7RecordWriter>(file);
}

namespace {

// Refusals that are not the file's doing.
enum class Refusal { kNone, kNoValues, kNoForm };

Status Convert(RecordReader& source, const CatalogItem& c, RecordWriter& target,
               std::string_view target_path, Refusal* refusal) {
  *refusal = Refusal::kNone;
  if (IsSeries(c.type)) {
    series::SeriesRead block;
    Status r = source.ReadSeriesBlock(c, &block);
    if (r != Status::kOk) return r;
    if (block.values.empty()) {
      *refusal = Refusal::kNoValues;
      return Status::kInvalidArgument;
    }
    for (double& v : block.values)
      if (series::IsMissing(v)) v = target.NeverWritten();
    Trim(&block.units);
    Trim(&block.type);
    return target.StoreSeriesBlock(target_path, c.type, block);
  }
  if (c.type >= 200 && c.type < 210) {
    paired::PairedData data;
    const Status r = source.ReadPaired(c, &data);
    if (r != Status::kOk) return r;
    for (auto* text : {&data.units_independent, &data.type_independent, &data.units_dependent,
                       &data.type_dependent})
      Trim(text);
    return target.StorePaired(target_path, data);
  }
  if (c.type == 300 || (c.type == 310 && target.MajorVersion() == 7)) {
    paired::TextData data;
    const Status r = source.ReadText(c, &data);
    return r == Status::kOk ? target.StoreText(target_path, data) : r;
  }
  *refusal = Refusal::kNoForm;
  return Status::kTypeMismatch;
}

}  // namespace

Status ConvertRecord(RecordReader& source, const CatalogItem& item, RecordWriter& target,
                     std::string_view target_path, const RecordInfo* keep) {
  Refusal refusal;
  target.KeepStamps(keep);
  const Status s = Convert(source, item, target, target_path, &refusal);
  target.KeepStamps(nullptr);
  return s;
}

Status ConvertRecords(RecordReader& source, RecordWriter& target, ConvertSummary* summary,
                      const std::function<void(int64_t, int64_t)>& progress) {
  *summary = {};
  std::vector<CatalogItem> items;
  const Status s = source.file().Catalog(&items);
  if (s != Status::kOk) return s;
  const auto total = static_cast<int64_t>(items.size());
  int64_t done = 0;
  for (const auto& c : items) {
    if (progress) progress(done++, total);
    Refusal refusal;
    const Status r = Convert(source, c, target, c.path, &refusal);
    if (r == Status::kOk) {
      ++summary->converted;
    } else if (refusal == Refusal::kNoForm) {
      summary->skipped.emplace_back(c.listed_path, "record type " + std::to_string(c.type) +
                                                       " has no form in DSS version " +
                                                       std::to_string(target.MajorVersion()));
    } else if (refusal == Refusal::kNoValues) {
      summary->skipped.emplace_back(c.listed_path, "no values");
    } else {
      summary->skipped.emplace_back(c.listed_path, dss7::StatusText(r));
    }
  }
  if (progress) progress(done, total);
  return Status::kOk;
}

}  // namespace varnock::engine::container
