#include "engine/dss6/reader.h"

#include <algorithm>

#include "engine/dss6/records.h"
#include "engine/dss6/store.h"
#include "engine/dss6/window.h"
#include "engine/rules/fixed_text.h"

namespace varnock::engine::dss6 {
namespace {

class Dss6RecordWriter final : public container::RecordWriter {
 public:
  explicit Dss6RecordWriter(Dss6File& file) : file_(file) {}
  int MajorVersion() const override { return 6; }
  double NeverWritten() const override { return kMissing; }

  Status StoreSeriesBlock(std::string_view path, int32_t type,
                          const series::SeriesRead& b) override {
    const bool doubles = type % 10 >= 5;
    std::vector<Minutes> minutes(b.times.size());
    for (size_t i = 0; i < b.times.size(); ++i)
      minutes[i] = b.times[i] / 60;
    SeriesStore6* common = nullptr;
    RegularStore6 regular;
    IrregularStore6 irregular;
    common = type >= 110 ? static_cast<SeriesStore6*>(&irregular) : &regular;
    common->path = path;
    common->values = b.values;
    common->doubles = doubles;
    if (b.quality_size == 1) common->quality = b.quality;
    common->units = b.units;
    common->type = b.type;
    common->precision = b.precision;
    common->user_header = b.user_header;
    if (type >= 110) {
      irregular.times = minutes;
      return StoreIrregular(file_, irregular);
    }
    regular.start = minutes.front();
    return StoreRegular(file_, regular);
  }
  Status StorePaired(std::string_view path, const paired::PairedData& data) override {
    return dss6::StorePaired(file_, path, data);
  }
  Status StoreText(std::string_view path, const paired::TextData& data) override {
    return dss6::StoreText(file_, path, data);
  }
  void KeepStamps(const container::RecordInfo* source) override { file_.KeepStamps(source); }

 private:
  Dss6File& file_;
};

// Seconds to DSS-6 minutes, earlier minute for times within one.
Minutes ToMinutes(series::Instant t) {
  return t >= 0 ? t / 60 : -((-t + 59) / 60);
}

series::SeriesStatus StoreFailure(Status s) {
  switch (s) {
    case Status::kOk:
      return {};
    case Status::kInvalidArgument:
      return {series::SeriesCode::kBadInterval};
    case Status::kTypeMismatch:
      return {series::SeriesCode::kWrongType};
    case Status::kDamaged:
    case Status::kPathMismatch:
      return {series::SeriesCode::kDamaged, s};
    default:
      return {series::SeriesCode::kFile, s};
  }
}

void FillStore(const series::SeriesInput& in, SeriesStore6* out) {
  out->values = in.values;
  out->doubles = in.doubles;
  if (in.quality_size == 1) out->quality = in.quality;
  out->units = in.units;
  out->type = in.type;
  out->precision = in.precision;
  out->user_header = in.user_header;
}

class Dss6RecordFile final : public container::RecordFile {
 public:
  explicit Dss6RecordFile(std::unique_ptr<Dss6File> file)
      : file_(std::move(file)), writer_(*file_) {}

  container::Container& file() override { return *file_; }

  Status ReadSeriesBlock(const container::CatalogItem& item, series::SeriesRead* out) override {
    const Status s = file_->ReadRecord(item.path, &record_);
    if (s != Status::kOk) return s;
    const int32_t t = record_.info.type;
    if (t == type::kIrregularFloat || t == type::kIrregularDouble) {
      return DecodeIrregular(record_, out);
    }
    return DecodeRegular(record_, out);
  }
  Status ReadPaired(const container::CatalogItem& item, paired::PairedData* out) override {
    return ReadPairedNamed(item.path, out, nullptr);
  }
  Status ReadText(const container::CatalogItem& item, paired::TextData* out) override {
    const Status s = file_->ReadRecord(item.path, &record_);
    return s == Status::kOk ? DecodeText(record_, out) : s;
  }
  bool BlankAfterEmptySeriesText() const override { return true; }
  double NeverWritten() const override { return kMissing; }

  container::RecordWriter& writer() override { return writer_; }
  Status Refresh() override { return file_->Refresh(); }
  uint64_t HeaderStamp() override { return container::StampOfWords(file_->header()); }
  container::FileFigures Figures() override {
    const auto& h = file_->header();
    container::FileFigures r;
    r.version_text = file_->VersionText();
    // As HEC encodes DSS-7 versions: major * 10000 + letters A..Z as 1..26 in the next places.
    const auto letter = [&](size_t i) {
      const char c = i < r.version_text.size() ? r.version_text[i] : ' ';
      return c >= 'A' && c <= 'Z' ? c - 'A' + 1 : 0;
    };
    r.version_number = 60000 + letter(2) * 100 + letter(3);
    r.records = h[hdr::kRecordCount];
    r.size_words = std::max<int64_t>(file_->file_words(), 0);
    r.size_kbytes = (r.size_words * kWordBytes + 1023) / 1024;
    r.dead_percent = static_cast<int32_t>(
        container::BoundedPercent(h[hdr::kDeadSpace], std::max<int64_t>(r.size_words, 1)));
    r.hash_size = h[hdr::kHashCodes];
    r.stable_table = h[hdr::kTableFlag] == kTableFlagStable;
    const std::span<const int32_t> words(h);
    const auto text = [&](int at) { return LoadChars(words.subspan(at, 2), 8); };
    r.created_ms = StampMillis(text(hdr::kCreateDate), "00:00:00");
    r.last_write_ms = StampMillis(text(hdr::kLastWriteDate), text(hdr::kLastWriteTime));
    return r;
  }
  Status ReadPairedNamed(std::string_view path, paired::PairedData* out,
                         container::RecordInfo* info) override {
    const Status s = file_->ReadRecord(path, &record_);
    if (s != Status::kOk) return s;
    if (info != nullptr) *info = record_.info;
    if (record_.info.type != type::kPairedFloat && record_.info.type != type::kPairedDouble) {
      return Status::kTypeMismatch;
    }
    return DecodePaired(record_, out);
  }
  Status WritePaired(std::string_view path, const paired::PairedData& data, paired::WritePlan plan,
                     std::string_view program) override {
    container::RecordInfo info;
    const Status s = file_->Lookup(path, &info);
    if (s != Status::kOk && s != Status::kNotFound) return s;
    const bool exists = s == Status::kOk;
    if (exists && plan == paired::WritePlan::kOnlyNew) return Status::kExists;
    if (!exists && plan == paired::WritePlan::kOnlyExisting) return Status::kNotFound;
    if (exists && info.type != type::kPairedFloat && info.type != type::kPairedDouble) {
      return Status::kTypeMismatch;
    }
    return StorePaired(*file_, path, data, program);
  }
  Status CopyRecord(std::string_view path, container::RecordFile& target,
                    std::string_view target_path) override {
    auto* same = dynamic_cast<Dss6RecordFile*>(&target);
    if (same == nullptr) {
      container::RecordInfo info;
      const Status s = file_->Lookup(path, &info);
      if (s != Status::kOk) return s;
      container::CatalogItem item;
      item.path = item.listed_path = info.path;
      item.type = info.type;
      return container::ConvertRecord(*this, item, target.writer(), target_path, &info);
    }
    if (same == this && NormalisePath(path) == NormalisePath(target_path)) {
      // A record copied onto itself stays as it is.
      container::RecordInfo info;
      return file_->Lookup(path, &info);
    }
    Status s = file_->CopyRecord(path, *same->file_, target_path);
    if (s == Status::kExists) {
      // HECLIB overwrites the target record.
      s = same->file_->Delete(target_path);
      if (s == Status::kOk) s = file_->CopyRecord(path, *same->file_, target_path);
    }
    return s;
  }

  // series::SeriesFile
  series::SeriesStatus ReadRegular(std::string_view path, series::Instant start, int64_t count,
                                   series::SeriesRead* out,
                                   const series::ReadOptions& options) override {
    const series::SeriesStatus s = ReadRegularWindow(*file_, path, ToMinutes(start), count, out);
    if (options.floats) RoundToFloats(out);
    return s;
  }
  series::SeriesStatus WholeBlock(std::string_view path, series::Instant* start,
                                  int32_t* count) override {
    Minutes first = 0;
    int64_t slots = 0;
    const series::SeriesStatus s = RegularBlockWindow(path, &first, &slots);
    if (!s.ok()) return s;
    *start = first * 60;
    *count = static_cast<int32_t>(slots);
    return s;
  }
  series::SeriesStatus StoreRegular(const series::RegularStore& request) override {
    RegularStore6 r;
    FillStore(request, &r);
    r.path = TrimTrailingBlanks(request.path);
    r.start = ToMinutes(request.start);
    r.plan = request.plan;
    return StoreFailure(dss6::StoreRegular(*file_, r));
  }
  series::SeriesStatus ReadIrregular(std::string_view path, series::Instant first,
                                     series::Instant last, series::SeriesRead* out,
                                     const series::ReadOptions& options) override {
    // Whole minutes inside the window: a window end within a minute keeps that minute out.
    const Minutes from = -ToMinutes(-first);
    const series::SeriesStatus s = ReadIrregularWindow(*file_, path, from, ToMinutes(last), out);
    if (options.floats) RoundToFloats(out);
    return s;
  }
  series::SeriesStatus StoreIrregular(const series::IrregularStore& request) override {
    for (size_t i = 1; i < request.times.size(); ++i) {
      if (request.times[i] < request.times[i - 1]) return {series::SeriesCode::kBadOrder};
    }
    std::vector<Minutes> minutes(request.times.size());
    for (size_t i = 0; i < minutes.size(); ++i)
      minutes[i] = ToMinutes(request.times[i]);
    IrregularStore6 r;
    FillStore(request, &r);
    r.path = TrimTrailingBlanks(request.path);
    r.times = minutes;
    r.replace = request.replace;
    return StoreFailure(dss6::StoreIrregular(*file_, r));
  }

 private:
  static void RoundToFloats(series::SeriesRead* out) {
    for (double& v : out->values)
      v = series::ToFloat(v);
  }
  std::unique_ptr<Dss6File> file_;
  Dss6RecordWriter writer_;
  container::RecordAreas record_;  // reused between reads
};

}  // namespace

std::unique_ptr<container::RecordWriter> MakeRecordWriter(Dss6File& file) {
  return std::make_unique<Dss6RecordWriter>(file);
}

std::unique_ptr<container::RecordFile> MakeRecordFile(std::unique_ptr<Dss6File> file) {
  return std::make_unique<Dss6RecordFile>(std::move(file));
}

}  // namespace varnock::engine::dss6
