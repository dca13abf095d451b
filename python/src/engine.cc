// varnock._varnock._engine: the engine's own API, for what the automation classes cannot carry
// (double values, every E-part spelling of a file, record types, quality), on DSS-6 and DSS-7
// files alike. Each File is its own engine handle with its own descriptor and locks; it reloads
// the file header before every read so that it sees what other handles (a DSSDatabase
// connection) wrote.
#include <pybind11/numpy.h>

#include <algorithm>
#include <cctype>
#include <limits>
#include <unordered_map>

#include "common.h"
#include "engine/container/record_file.h"
#include "engine/dss7/posix_file_io.h"
#include "engine/heclib/options.h"
#include "engine/records/paired/record_io.h"
#include "engine/records/series/series.h"

namespace varnock::python {

namespace {

namespace container = engine::container;
namespace dss7 = engine::dss7;
namespace series = engine::series;
namespace paired = engine::paired;

// Unix seconds <-> engine instants (seconds from 31 December 1899, julian day 0).
constexpr int64_t kUnixEpochInstant = 25568LL * 86400;
int64_t ToUnix(series::Instant t) {
  return t - kUnixEpochInstant;
}
series::Instant ToInstant(int64_t unix_seconds) {
  return unix_seconds + kUnixEpochInstant;
}

[[noreturn]] void Raise(const std::string& description) {
  throw AutomationError(kObjectErrorBase + dssHeclibError, "varnock._engine", description);
}

std::string SeriesCodeText(const series::SeriesStatus& s) {
  switch (s.code) {
    case series::SeriesCode::kOk:
      return "ok";
    case series::SeriesCode::kNotFound:
      return "no record in the window";
    case series::SeriesCode::kBadPath:
      return "not a pathname of six parts";
    case series::SeriesCode::kBadInterval:
      return "the E part is not an interval of this kind of series";
    case series::SeriesCode::kBadCount:
      return "no values";
    case series::SeriesCode::kBadTime:
      return "the window or start cannot be formed";
    case series::SeriesCode::kBadOrder:
      return "times decrease";
    case series::SeriesCode::kBadInput:
      return "array sizes disagree";
    case series::SeriesCode::kWrongType:
      return "a record of another type is in the way";
    case series::SeriesCode::kIncompatible:
      return "quality sizes differ from the existing record's";
    case series::SeriesCode::kTooLarge:
      return "too many values";
    case series::SeriesCode::kDamaged:
      return "a block record is damaged";
    case series::SeriesCode::kFile:
      return dss7::StatusText(s.file);
  }
  return "unknown status";
}

std::string Upper(std::string_view text) {
  std::string out(TrimBlanks(std::string(text)));
  for (char& c : out)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

// The series a pathname names, whatever its D part: parts A, B, C, F regardless of case and the
// interval whatever its spelling.
std::string SeriesKey(const series::SeriesPath& path) {
  std::string key;
  for (int i : {0, 1, 2, 5})
    key += Upper(path.parts[i]) + '/';
  return key + std::string(path.interval->name);
}

// The time extent of the block records of one series: the first and last standard times
// (regular) or the first and last instants the blocks cover (irregular).
struct Extent {
  series::Instant first = 0;
  series::Instant last = 0;
};

// Values go to a double record (RTD, ITD) only when given as a float64 NumPy array.
bool StoresDoubles(const py::object& values) {
  return py::isinstance<py::array>(values) &&
         py::reinterpret_borrow<py::array>(values).dtype().is(py::dtype::of<double>());
}

template <typename T>
py::array_t<T> ArrayOf(const std::vector<T>& values) {
  py::array_t<T> out(static_cast<py::ssize_t>(values.size()));
  std::copy(values.begin(), values.end(), out.mutable_data());
  return out;
}

using DoubleArray = py::array_t<double, py::array::c_style | py::array::forcecast>;
using Int64Array = py::array_t<int64_t, py::array::c_style | py::array::forcecast>;
using Int32Array = py::array_t<int32_t, py::array::c_style | py::array::forcecast>;

class EngineFile {
 public:
  // `version` is that of a file made new (6 or 7); an existing file keeps its own.
  EngineFile(std::string path, bool writable, bool create, int version)
      : path_(std::move(path)), writable_(writable) {
    if (create && !writable) throw py::value_error("a file can only be created writable");
    if (version != 6 && version != 7) throw py::value_error("version must be 6 or 7");
    container::OpenOptions options;
    options.read_only = !writable;
    options.program = "Varnock";
    dss7::Status status;
    {
      py::gil_scoped_release release;
      using Mode = dss7::PosixFileIO::Mode;
      const Mode mode = !writable ? Mode::kReadOnly
                        : create  ? Mode::kCreate
                                  : Mode::kReadWriteOrReadOnly;
      std::unique_ptr<dss7::PosixFileIO> io;
      status = dss7::PosixFileIO::Open(path_, mode, &io);
      bool created = false;
      if (status == dss7::Status::kOk && create) {
        status = container::OpenOrCreateRecordFileIO(std::move(io), version, 0, options, &file_,
                                                     &created);
      } else if (status == dss7::Status::kOk) {
        status = container::OpenRecordFileIO(std::move(io), options, &file_);
      }
    }
    if (status != dss7::Status::kOk)
      Raise("Unable to open the DSS file " + path_ + ": " + dss7::StatusText(status));
    if (writable && file_->file().read_only()) Raise(path_ + " can only be opened read-only");
  }

  const std::string& path() const { return path_; }
  bool writable() const { return writable_; }
  bool closed() const { return !file_; }
  int version() {
    RequireOpen();
    return file_->file().MajorVersion();
  }

  void Close() {
    Locked([&] {
      if (file_) {
        (void)file_->file().Close();
        file_.reset();
      }
    });
  }

  py::list Catalog() {
    std::vector<container::CatalogItem> entries;
    Locked([&] { entries = Entries(); });
    py::list out;
    for (const auto& e : entries) {
      int32_t first_julian = e.first_julian, last_julian = e.last_julian;
      // Files that keep no data days in their catalog get the days the block covers.
      if (first_julian == 0 && last_julian == 0) {
        Extent block;
        if (BlockExtent(e.path, nullptr, &block)) {
          first_julian = static_cast<int32_t>(block.first / 86400);
          last_julian = static_cast<int32_t>(block.last / 86400);
        }
      }
      out.append(py::make_tuple(
          e.path, e.type, std::string(TrimBlanks(std::string(engine::RecordTypeName(e.type)))),
          first_julian, last_julian, e.last_write_ms));
    }
    return out;
  }

  py::object RecordType(const std::string& pathname) {
    container::RecordInfo info;
    const dss7::Status status = Locked([&] {
      Fresh();
      return file_->file().Lookup(pathname, &info);
    });
    if (status == dss7::Status::kNotFound) return py::none();
    if (status != dss7::Status::kOk) Raise(pathname + ": " + dss7::StatusText(status));
    return py::make_tuple(info.type,
                          std::string(TrimBlanks(std::string(engine::RecordTypeName(info.type)))));
  }

  py::dict ReadRegular(const std::string& pathname, std::optional<int64_t> start_s,
                       std::optional<int64_t> end_s) {
    return ReadSeries(pathname, false, start_s, end_s);
  }

  py::dict ReadIrregular(const std::string& pathname, std::optional<int64_t> start_s,
                         std::optional<int64_t> end_s) {
    return ReadSeries(pathname, true, start_s, end_s);
  }

  void WriteRegular(const std::string& pathname, int64_t start_s, py::object values,
                    const std::string& units, const std::string& type, py::object quality,
                    int32_t plan) {
    const bool doubles = StoresDoubles(values);
    const DoubleArray data = DoubleArray::ensure(values);
    if (!data || data.ndim() != 1)
      throw py::value_error("values must be a one-dimensional array of numbers");
    std::vector<int32_t> quality_words;
    int32_t quality_size = QualityOf(quality, data.shape(0), quality_words);
    series::RegularStore store;
    store.values = std::span<const double>(data.data(), static_cast<size_t>(data.shape(0)));
    store.doubles = doubles;
    store.quality = quality_words;
    store.quality_size = quality_size;
    store.units = units;
    store.type = type;
    store.path = pathname;
    store.start = ToInstant(start_s);
    store.plan = plan;
    const series::SeriesStatus status = Locked([&] {
      RequireOpen();
      return file_->StoreRegular(store);
    });
    if (!status.ok()) Raise(pathname + ": " + SeriesCodeText(status));
  }

  void WriteIrregular(const std::string& pathname, const Int64Array& times_s, py::object values,
                      const std::string& units, const std::string& type, py::object quality,
                      bool replace) {
    const bool doubles = StoresDoubles(values);
    const DoubleArray data = DoubleArray::ensure(values);
    if (!data || data.ndim() != 1)
      throw py::value_error("values must be a one-dimensional array of numbers");
    if (times_s.ndim() != 1 || times_s.shape(0) != data.shape(0))
      throw py::value_error("times and values differ in length");
    std::vector<series::Instant> times(static_cast<size_t>(times_s.shape(0)));
    bool whole_minutes = true;
    for (size_t i = 0; i < times.size(); ++i) {
      times[i] = ToInstant(times_s.data()[i]);
      whole_minutes = whole_minutes && times[i] % 60 == 0;
    }
    std::vector<int32_t> quality_words;
    int32_t quality_size = QualityOf(quality, data.shape(0), quality_words);
    series::IrregularStore store;
    store.values = std::span<const double>(data.data(), static_cast<size_t>(data.shape(0)));
    store.doubles = doubles;
    store.quality = quality_words;
    store.quality_size = quality_size;
    store.units = units;
    store.type = type;
    store.path = pathname;
    store.times = times;
    store.replace = replace;
    store.granularity = whole_minutes ? 60 : 1;
    const series::SeriesStatus status = Locked([&] {
      RequireOpen();
      return file_->StoreIrregular(store);
    });
    if (!status.ok()) Raise(pathname + ": " + SeriesCodeText(status));
  }

  py::dict ReadPaired(const std::string& pathname) {
    paired::PairedData data;
    const dss7::Status status = Locked([&] {
      Fresh();
      return file_->ReadPairedNamed(pathname, &data, nullptr);
    });
    if (status != dss7::Status::kOk) Raise(pathname + ": " + dss7::StatusText(status));
    py::dict out;
    out["ordinates"] = ArrayOf(data.ordinates);
    py::array_t<double> curves(
        {static_cast<py::ssize_t>(data.curve_count), static_cast<py::ssize_t>(data.rows())});
    std::copy_n(data.values.begin(),
                std::min(data.values.size(), static_cast<size_t>(curves.size())),
                curves.mutable_data());
    out["curves"] = curves;
    out["labels"] = data.labels;
    out["units"] = py::make_tuple(data.units_independent, data.units_dependent);
    out["types"] = py::make_tuple(data.type_independent, data.type_dependent);
    out["doubles"] = data.doubles;
    out["record_type"] = data.record_type();
    return out;
  }

  void WritePaired(const std::string& pathname, const DoubleArray& ordinates, DoubleArray curves,
                   py::object labels, std::pair<std::string, std::string> units,
                   std::pair<std::string, std::string> types, bool doubles) {
    if (ordinates.ndim() != 1) throw py::value_error("ordinates must be one-dimensional");
    if (curves.ndim() == 1) curves = curves.reshape({py::ssize_t{1}, curves.shape(0)});
    if (curves.ndim() != 2 || curves.shape(1) != ordinates.shape(0))
      throw py::value_error("curves must have shape (curves, ordinates)");
    paired::PairedData data;
    data.doubles = doubles;
    data.ordinates.assign(ordinates.data(), ordinates.data() + ordinates.shape(0));
    data.curve_count = static_cast<int32_t>(curves.shape(0));
    data.values.assign(curves.data(), curves.data() + curves.size());
    if (!labels.is_none()) {
      data.labels = labels.cast<std::vector<std::string>>();
      if (static_cast<py::ssize_t>(data.labels.size()) != curves.shape(0))
        throw py::value_error("one label per curve is needed");
    }
    data.units_independent = units.first;
    data.units_dependent = units.second;
    data.type_independent = types.first;
    data.type_dependent = types.second;
    const dss7::Status status = Locked([&] {
      RequireOpen();
      return file_->WritePaired(pathname, data, paired::WritePlan::kAlways, "Varnock");
    });
    if (status != dss7::Status::kOk) Raise(pathname + ": " + dss7::StatusText(status));
  }

  void Delete(const std::string& pathname) {
    const dss7::Status status = Locked([&] {
      RequireOpen();
      return file_->file().Delete(pathname);
    });
    if (status != dss7::Status::kOk) Raise(pathname + ": " + dss7::StatusText(status));
  }

 private:
  // Runs `work` without the GIL and under the handle's lock: engine calls block on file locks and
  // I/O, and other Python threads should run meanwhile.
  template <typename Work>
  auto Locked(Work&& work) -> decltype(work()) {
    py::gil_scoped_release release;
    std::lock_guard<std::mutex> lock(mutex_);
    return work();
  }

  py::dict ReadSeries(const std::string& pathname, bool irregular, std::optional<int64_t> start_s,
                      std::optional<int64_t> end_s) {
    series::SeriesPath path;
    series::SeriesRead read;
    const series::SeriesStatus status = Locked([&] {
      Fresh();
      series::SeriesStatus s = series::ParseSeriesPath(pathname, irregular, &path);
      series::Instant first = 0, last = 0;
      if (irregular) {
        if (s.ok()) s = IrregularWindow(path, start_s, end_s, &first, &last);
        if (s.ok()) s = file_->ReadIrregular(pathname, first, last, &read, {});
        return s;
      }
      int64_t count = 0;
      if (s.ok()) s = RegularWindow(path, start_s, end_s, &first, &last);
      if (s.ok()) s = SlotCount(*path.interval, first, last, &count);
      if (s.ok()) s = file_->ReadRegular(pathname, first, count, &read, {});
      if (s.ok()) Cut(&read, start_s, end_s);
      return s;
    });
    // An irregular window that holds no values is an empty series, not an error.
    const bool empty_window =
        irregular && status.code == series::SeriesCode::kNotFound && (start_s || end_s);
    if (!status.ok() && !empty_window) Raise(pathname + ": " + SeriesCodeText(status));
    py::dict out = SeriesDict(read);
    out["interval_s"] = irregular ? 0 : path.interval->seconds;
    out["interval_name"] = std::string(path.interval->name);
    out["offset_s"] = irregular ? 0 : read.offset_seconds;
    return out;
  }

  void RequireOpen() const {
    if (!file_)
      throw AutomationError(kObjectErrorBase + dssNotOpen, "varnock._engine",
                            "No DSS file connected");
  }

  // Reloads the header so that records written through other handles are seen.
  void Fresh() {
    RequireOpen();
    const dss7::Status status = file_->Refresh();
    if (status != dss7::Status::kOk) Raise(path_ + ": " + dss7::StatusText(status));
  }

  // The live catalog, kept while the file's header stays the same.
  const std::vector<container::CatalogItem>& Entries() {
    Fresh();
    if (!catalog_valid_ || catalog_stamp_ != file_->HeaderStamp()) {
      catalog_.clear();
      const dss7::Status status = file_->file().Catalog(&catalog_);
      if (status != dss7::Status::kOk) Raise(path_ + ": " + dss7::StatusText(status));
      catalog_stamp_ = file_->HeaderStamp();
      catalog_valid_ = true;
      IndexSeries();
    }
    return catalog_;
  }

  // Sorts the block records of the catalog into the series they belong to.
  void IndexSeries() {
    extents_.clear();
    for (const auto& entry : catalog_) {
      series::SeriesPath path;
      Extent block;
      if (!BlockExtent(entry.path, &path, &block)) continue;
      auto [it, added] = extents_.emplace(SeriesKey(path), block);
      if (!added) {
        it->second.first = std::min(it->second.first, block.first);
        it->second.last = std::max(it->second.last, block.last);
      }
    }
  }

  // The instants a series block record covers, by its pathname (and the parsed path when
  // `path` is given); false for records that are not series blocks.
  static bool BlockExtent(const std::string& pathname, series::SeriesPath* path, Extent* block) {
    series::SeriesPath parsed;
    if (path == nullptr) path = &parsed;
    if (series::ParseSeriesPath(pathname, false, path).ok()) {
      int32_t count = 0;
      if (!series::RegularBlockWindow(pathname, &block->first, &count).ok() || count < 1)
        return false;
      block->last = series::StepStandard(*path->interval, block->first, count - 1);
      return true;
    }
    return series::ParseSeriesPath(pathname, true, path).ok() &&
           series::IrregularBlockWindow(pathname, &block->first, &block->last).ok();
  }

  // The extent of every block record of a series, or nothing when the file has none.
  const Extent* ExtentOf(const series::SeriesPath& path) {
    Entries();
    const auto it = extents_.find(SeriesKey(path));
    return it == extents_.end() ? nullptr : &it->second;
  }

  // The first standard time and the last value's standard time to read: the window given
  // (inclusive), or every block of the series in the file.
  series::SeriesStatus RegularWindow(const series::SeriesPath& path, std::optional<int64_t> start_s,
                                     std::optional<int64_t> end_s, series::Instant* first,
                                     series::Instant* last) {
    const series::Interval& iv = *path.interval;
    Extent blocks;
    if (!start_s || !end_s) {
      const Extent* extent = ExtentOf(path);
      if (extent == nullptr) return {series::SeriesCode::kNotFound, dss7::Status::kOk};
      blocks = *extent;
    }
    *first = start_s ? series::Standardise(iv, ToInstant(*start_s)).standard : blocks.first;
    // One period past the end's standard time: a value whose offset puts it before the end may be
    // filed there; Cut drops what lies past the end.
    *last = end_s ? series::StepStandard(iv, series::Standardise(iv, ToInstant(*end_s)).standard, 1)
                  : blocks.last;
    if (*last < *first) return {series::SeriesCode::kBadTime, dss7::Status::kOk};
    return {};
  }

  series::SeriesStatus IrregularWindow(const series::SeriesPath& path,
                                       std::optional<int64_t> start_s, std::optional<int64_t> end_s,
                                       series::Instant* first, series::Instant* last) {
    Extent blocks;
    if (!start_s || !end_s) {
      const Extent* extent = ExtentOf(path);
      if (extent == nullptr) return {series::SeriesCode::kNotFound, dss7::Status::kOk};
      blocks = *extent;
    }
    *first = start_s ? ToInstant(*start_s) : blocks.first;
    *last = end_s ? ToInstant(*end_s) : blocks.last;
    if (*last < *first) return {series::SeriesCode::kBadTime, dss7::Status::kOk};
    return {};
  }

  // Slots from the standard time `first` to `last`, both included.
  static series::SeriesStatus SlotCount(const series::Interval& iv, series::Instant first,
                                        series::Instant last, int64_t* count) {
    if (iv.klass == series::IntervalClass::kFixed) {
      *count = (last - first) / iv.seconds + 1;
      return {};
    }
    int64_t n = 1;
    for (series::Instant t = first; t < last; ++n) {
      t = series::StepStandard(iv, t, 1);
      if (n > (int64_t{1} << 26)) return {series::SeriesCode::kTooLarge, dss7::Status::kOk};
    }
    *count = n;
    return {};
  }

  static int32_t QualityOf(py::object quality, py::ssize_t n, std::vector<int32_t>& words) {
    if (quality.is_none()) return 0;
    const Int32Array q = quality.cast<Int32Array>();
    if (q.ndim() < 1 || q.ndim() > 2 || q.shape(0) != n)
      throw py::value_error("one quality entry per value is needed");
    words.assign(q.data(), q.data() + q.size());
    return q.ndim() == 1 ? 1 : static_cast<int32_t>(q.shape(1));
  }

  // Keeps the values inside the window given (by their reported times, which an offset moves
  // from the standard ones), and drops the slots no block record holds (never written) from the
  // open ends.
  static void Cut(series::SeriesRead* read, std::optional<int64_t> start_s,
                  std::optional<int64_t> end_s) {
    const auto& v = read->values;
    const auto& t = read->times;
    size_t begin = 0, end = std::min(v.size(), t.size());
    while (begin < end &&
           (start_s ? t[begin] < ToInstant(*start_s) : v[begin] == series::kUndefinedDouble))
      ++begin;
    while (end > begin &&
           (end_s ? t[end - 1] > ToInstant(*end_s) : v[end - 1] == series::kUndefinedDouble))
      --end;
    if (begin == 0 && end == v.size()) return;
    const auto q = static_cast<size_t>(std::max(read->quality_size, 0));
    const auto at = [](size_t i) { return static_cast<std::ptrdiff_t>(i); };
    read->values.assign(v.begin() + at(begin), v.begin() + at(end));
    read->times.assign(t.begin() + at(begin), t.begin() + at(end));
    if (q > 0 && read->quality.size() >= end * q)
      read->quality.assign(read->quality.begin() + at(begin * q),
                           read->quality.begin() + at(end * q));
  }

  static py::dict SeriesDict(const series::SeriesRead& read) {
    py::dict out;
    Int64Array times(static_cast<py::ssize_t>(read.times.size()));
    for (size_t i = 0; i < read.times.size(); ++i)
      times.mutable_data()[i] = ToUnix(read.times[i]);
    out["times"] = times;
    if (read.doubles) {
      out["values"] = ArrayOf(read.values);
    } else {
      py::array_t<float> values(static_cast<py::ssize_t>(read.values.size()));
      std::transform(read.values.begin(), read.values.end(), values.mutable_data(),
                     [](double v) { return static_cast<float>(v); });
      out["values"] = values;
    }
    if (read.quality_size > 0 &&
        read.quality.size() == read.values.size() * static_cast<size_t>(read.quality_size)) {
      py::array_t<int32_t> quality({static_cast<py::ssize_t>(read.values.size()),
                                    static_cast<py::ssize_t>(read.quality_size)});
      std::copy(read.quality.begin(), read.quality.end(), quality.mutable_data());
      out["quality"] = read.quality_size == 1
                           ? quality.reshape({static_cast<py::ssize_t>(read.values.size())})
                           : py::object(quality);
    } else {
      out["quality"] = py::none();
    }
    out["units"] = read.units;
    out["type"] = read.type;
    out["time_zone"] = read.time_zone;
    out["doubles"] = read.doubles;
    out["record_type"] = read.record_type;
    return out;
  }

  std::string path_;
  bool writable_;
  std::unique_ptr<container::RecordFile> file_;
  std::mutex mutex_;
  std::vector<container::CatalogItem> catalog_;
  uint64_t catalog_stamp_ = 0;
  bool catalog_valid_ = false;
  std::unordered_map<std::string, Extent> extents_;  // by SeriesKey
};

}  // namespace

void InitEngine(py::module_& m) {
  py::module_ engine =
      m.def_submodule("_engine", "Private: the DSS engine's own API for the Python layer.");
  engine.attr("UNDEFINED") = series::kUndefinedDouble;
  py::class_<EngineFile>(engine, "File", "One engine handle on a DSS-6 or DSS-7 file.")
      .def(py::init<std::string, bool, bool, int>(), py::arg("path"), py::arg("writable") = false,
           py::arg("create") = false, py::arg("version") = 7)
      .def_property_readonly("version", &EngineFile::version)
      .def_property_readonly("path", &EngineFile::path)
      .def_property_readonly("writable", &EngineFile::writable)
      .def_property_readonly("closed", &EngineFile::closed)
      .def("close", &EngineFile::Close)
      .def("__enter__", [](py::object self) { return self; })
      .def("__exit__", [](EngineFile& self, py::args) { self.Close(); })
      .def("catalog", &EngineFile::Catalog,
           "Live records: (pathname, type code, type text, first julian, last julian, last write "
           "ms).")
      .def("record_type", &EngineFile::RecordType, py::arg("pathname"))
      .def("read_regular", &EngineFile::ReadRegular, py::arg("pathname"),
           py::arg("start_s") = py::none(), py::arg("end_s") = py::none())
      .def("read_irregular", &EngineFile::ReadIrregular, py::arg("pathname"),
           py::arg("start_s") = py::none(), py::arg("end_s") = py::none())
      .def("write_regular", &EngineFile::WriteRegular, py::arg("pathname"), py::arg("start_s"),
           py::arg("values"), py::arg("units") = "", py::arg("type") = "",
           py::arg("quality") = py::none(), py::arg("plan") = 0)
      .def("write_irregular", &EngineFile::WriteIrregular, py::arg("pathname"), py::arg("times_s"),
           py::arg("values"), py::arg("units") = "", py::arg("type") = "",
           py::arg("quality") = py::none(), py::arg("replace") = false)
      .def("read_paired", &EngineFile::ReadPaired, py::arg("pathname"))
      .def("write_paired", &EngineFile::WritePaired, py::arg("pathname"), py::arg("ordinates"),
           py::arg("curves"), py::arg("labels") = py::none(),
           py::arg("units") = std::make_pair(std::string(), std::string()),
           py::arg("types") = std::make_pair(std::string(), std::string()),
           py::arg("doubles") = false)
      .def("delete", &EngineFile::Delete, py::arg("pathname"));
}

}  // namespace varnock::python
