// Every repeat-compression form HEC writes into time-series records, built here with the
// documented layout (values, quality and integer notes each uncompressed, as a repeat bitmap in
// header 2, or as one element for the whole record; floats and doubles; regular and irregular;
// the current padded layout and the legacy one) and read back through the series API.
#include <gtest/gtest.h>

#include <array>
#include <cctype>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "engine/dss7/test_support.h"
#include "engine/records/series/series.h"

namespace varnock::engine::series {
namespace {

namespace h = ts_header;

constexpr int32_t kNone = 0;
constexpr int32_t kRepeats = 1;
constexpr int32_t kAllEqual = 2;

// Where header 2 keeps the bitmaps: only flag-1 sections, back to back (as documented), or one
// slot for every compressed section, left zero for an all-equal one.
enum class Bitmaps { kPacked, kSlotPerCompressedSection };

// One section as HEC stores it: flag 0 every element, flag 1 the elements that differ from
// the step before (with a bitmap of the repeats appended to header 2), flag 2 one element.
std::vector<int32_t> StoredSection(const std::vector<int32_t>& ints, int32_t steps, int32_t elem,
                                   int32_t flag, Bitmaps bitmaps, std::vector<int32_t>* header2) {
  const auto words = static_cast<size_t>((steps + 31) / 32);
  if (flag == kNone) return ints;
  if (flag == kAllEqual) {
    if (bitmaps == Bitmaps::kSlotPerCompressedSection) header2->resize(header2->size() + words, 0);
    return {ints.begin(), ints.begin() + elem};
  }
  std::vector<int32_t> kept;
  std::vector<int32_t> bitmap(words, 0);
  for (int32_t i = 0; i < steps; ++i) {
    const auto at = ints.begin() + int64_t{i} * elem;
    if (i > 0 && std::equal(at, at + elem, at - elem)) {
      bitmap[static_cast<size_t>(i / 32)] |= static_cast<int32_t>(1u << (i % 32));
    } else {
      kept.insert(kept.end(), at, at + elem);
    }
  }
  header2->insert(header2->end(), bitmap.begin(), bitmap.end());
  return kept;
}

struct Form {
  const char* name;
  bool doubles;
  bool irregular;
  bool legacy;  // file older than 7-HA: no pads between sections, strings at int 17
  int32_t values_flag;
  int32_t quality_size;
  int32_t quality_flag;
  int32_t inote_size;
  int32_t notes_flag;
  bool cnotes;
  bool spare_bitmap;  // HEC counts a bitmap slot for an all-equal section and leaves it zero
  // Forms seen in files rather than documents:
  Bitmaps bitmaps = Bitmaps::kPacked;
  int32_t values_number = 0;  // else the values number written for an all-equal section
  bool no_pads = false;       // a current-layout file whose record has no section pads
};

void PrintTo(const Form& f, std::ostream* os) {
  *os << f.name;
}

constexpr int32_t kSteps = 45;  // more than one bitmap word
constexpr int32_t kFirstSlot = 10;

// Values with runs, or all equal for flag 2; quality and notes likewise.
double ValueOf(const Form& f, int32_t i) {
  return f.values_flag == kAllEqual ? 12.5 : 100.0 + (i / 4) * 0.25;
}
int32_t QualityOf(const Form& f, int32_t i, int32_t k) {
  return f.quality_flag == kAllEqual ? 3 + k : ((i / 7) % 3) * 10 + k;
}
int32_t NoteOf(const Form& f, int32_t i, int32_t k) {
  return f.notes_flag == kAllEqual ? 7 * (k + 1) : (i / 5) + 100 * k;
}
std::string CnoteOf(int32_t i) {
  return i % 3 == 0 ? std::string() : "n" + std::to_string(i);
}

dss7::RecordData BuildRecord(const Form& f, std::vector<int32_t> (&areas)[dss7::kAreaCount]) {
  const int32_t v = f.doubles ? 2 : 1;
  std::vector<int32_t> value_ints(static_cast<size_t>(kSteps * v));
  for (int32_t i = 0; i < kSteps; ++i) {
    if (f.doubles) {
      const double d = ValueOf(f, i);
      std::memcpy(value_ints.data() + 2 * i, &d, sizeof d);
    } else {
      const auto x = static_cast<float>(ValueOf(f, i));
      std::memcpy(value_ints.data() + i, &x, sizeof x);
    }
  }
  std::vector<int32_t> quality;
  for (int32_t i = 0; i < kSteps; ++i)
    for (int32_t k = 0; k < f.quality_size; ++k)
      quality.push_back(QualityOf(f, i, k));
  std::vector<int32_t> inotes;
  for (int32_t i = 0; i < kSteps; ++i)
    for (int32_t k = 0; k < f.inote_size; ++k)
      inotes.push_back(NoteOf(f, i, k));
  std::string cnotes;
  for (int32_t i = 0; f.cnotes && i < kSteps; ++i)
    cnotes += CnoteOf(i) + '\0';

  std::vector<int32_t>& header2 = areas[dss7::kHeader2];
  const std::vector<int32_t> stored_values =
      StoredSection(value_ints, kSteps, v, f.values_flag, f.bitmaps, &header2);
  const std::vector<int32_t> stored_quality =
      StoredSection(quality, kSteps, f.quality_size, f.quality_flag, f.bitmaps, &header2);
  const std::vector<int32_t> stored_notes =
      StoredSection(inotes, kSteps, f.inote_size, f.notes_flag, f.bitmaps, &header2);
  if (f.spare_bitmap) header2.resize(header2.size() + (kSteps + 31) / 32, 0);

  std::vector<int32_t>& values1 = areas[dss7::kValues1];
  auto pad = [&] {
    if (!f.legacy && !f.no_pads && values1.size() % 2 == 1) values1.push_back(0);
  };
  for (int32_t i = 0; f.irregular && i < kSteps; ++i)
    values1.push_back(3600 * (i + 1));
  values1.insert(values1.end(), stored_values.begin(), stored_values.end());
  pad();
  values1.insert(values1.end(), stored_quality.begin(), stored_quality.end());
  pad();
  const auto cnote_ints = static_cast<int32_t>((cnotes.size() + 3) / 4);
  if (f.cnotes) {
    const size_t at = values1.size();
    values1.resize(at + static_cast<size_t>(cnote_ints), 0);
    std::memcpy(values1.data() + at, cnotes.data(), cnotes.size());
  } else {
    values1.insert(values1.end(), stored_notes.begin(), stored_notes.end());
  }
  pad();

  const std::string_view strings[] = {"cfs", "INST-VAL", ""};
  const std::string packed = PackStrings(strings);
  const int strings_at = f.legacy ? h::kFiller : h::kStrings;
  std::vector<int32_t>& ih = areas[dss7::kInternalHeader];
  ih.assign(static_cast<size_t>(strings_at) + packed.size() / 4, 0);
  ih[h::kGranularity] = 60;
  ih[h::kPrecision] = -1;
  ih[h::kFirstPosition] = f.irregular ? 0 : kFirstSlot;
  ih[h::kLastPosition] = f.irregular ? 0 : kFirstSlot + kSteps - 1;
  ih[h::kValuesNumber] =
      f.values_number != 0 ? f.values_number : static_cast<int32_t>(stored_values.size());
  ih[h::kValueSize] = v;
  ih[h::kElementSize] = v;
  ih[h::kValuesCompression] = f.values_flag;
  ih[h::kQualityNumber] = static_cast<int32_t>(stored_quality.size());
  ih[h::kQualitySize] = f.quality_size;
  ih[h::kQualityCompression] = f.quality_flag;
  ih[h::kNotesNumber] = f.cnotes ? cnote_ints : static_cast<int32_t>(stored_notes.size());
  ih[h::kInoteSize] = f.inote_size;
  ih[h::kNotesCompression] = f.notes_flag;
  ih[h::kCnotesLength] = static_cast<int32_t>(cnotes.size());
  if (!f.legacy) ih[h::kFiller] = h::kBlanks;
  std::memcpy(ih.data() + strings_at, packed.data(), packed.size());

  dss7::RecordData data;
  data.type = (f.irregular ? kIrregularFloat : kRegularFloat) + (f.doubles ? 5 : 0);
  for (int a = 0; a < dss7::kAreaCount; ++a)
    data.areas[a] = areas[a];
  data.data_count = kSteps;
  data.logical_count = f.irregular ? kSteps : 366;
  return data;
}

constexpr Form kForms[] = {
    // name                       dbl    irr    legacy vals q  qf n  nf cnotes spare
    {"float values repeats", false, false, false, kRepeats, 0, 0, 0, 0, false, false},
    {"float values all equal", false, false, false, kAllEqual, 0, 0, 0, 0, false, false},
    {"double values repeats", true, false, false, kRepeats, 0, 0, 0, 0, false, false},
    {"double values all equal", true, false, false, kAllEqual, 0, 0, 0, 0, false, false},
    {"float quality repeats", false, false, false, kNone, 1, kRepeats, 0, 0, false, false},
    {"float quality all equal", false, false, false, kNone, 1, kAllEqual, 0, 0, false, false},
    {"float both repeat", false, false, false, kRepeats, 1, kRepeats, 0, 0, false, false},
    {"float repeats, quality all equal", false, false, false, kRepeats, 1, kAllEqual, 0, 0, false,
     true},
    {"float all equal, quality repeats", false, false, false, kAllEqual, 1, kRepeats, 0, 0, false,
     true},
    {"float all equal, quality all equal", false, false, false, kAllEqual, 1, kAllEqual, 0, 0,
     false, true},
    {"double repeats, two quality ints", true, false, false, kRepeats, 2, kRepeats, 0, 0, false,
     false},
    {"double all equal, quality repeats", true, false, false, kAllEqual, 1, kRepeats, 0, 0, false,
     true},
    {"float notes repeat", false, false, false, kRepeats, 1, kRepeats, 2, kRepeats, false, false},
    {"float notes all equal", false, false, false, kNone, 1, kNone, 1, kAllEqual, false, false},
    {"double notes all equal", true, false, false, kAllEqual, 1, kAllEqual, 1, kAllEqual, false,
     true},
    {"float character notes", false, false, false, kRepeats, 1, kAllEqual, 0, 0, true, true},
    {"irregular float repeats", false, true, false, kRepeats, 1, kRepeats, 0, 0, false, false},
    {"irregular double all equal", true, true, false, kAllEqual, 0, 0, 0, 0, false, false},
    {"irregular double notes", true, true, false, kRepeats, 1, kAllEqual, 1, kRepeats, false, true},
    {"legacy float repeats", false, false, true, kRepeats, 1, kRepeats, 0, 0, false, false},
    {"legacy float quality all equal", false, false, true, kRepeats, 1, kAllEqual, 0, 0, false,
     true},
    {"legacy double all equal", true, false, true, kAllEqual, 0, 0, 0, 0, false, false},
    {"legacy double quality all equal", true, false, true, kAllEqual, 1, kAllEqual, 0, 0, false,
     true},
    {"legacy irregular double", true, true, true, kAllEqual, 1, kRepeats, 1, kAllEqual, false,
     false},
    // Double records of one repeated value that count it as one value, not two ints.
    {"double all equal, counted as one value", true, false, false, kAllEqual, 0, 0, 0, 0, false,
     false, Bitmaps::kPacked, 1},
    {"legacy double all equal, counted as one value", true, false, true, kAllEqual, 1, kRepeats, 0,
     0, false, false, Bitmaps::kSlotPerCompressedSection, 1},
    // Quality bitmaps behind the unused slot of all-equal values.
    {"float all equal, quality bitmap in its own slot", false, false, false, kAllEqual, 1, kRepeats,
     0, 0, false, false, Bitmaps::kSlotPerCompressedSection},
    {"double all equal, notes bitmap in its own slot", true, false, false, kAllEqual, 1, kAllEqual,
     1, kRepeats, false, false, Bitmaps::kSlotPerCompressedSection},
    {"irregular all equal, quality bitmap in its own slot", false, true, false, kAllEqual, 2,
     kRepeats, 0, 0, false, false, Bitmaps::kSlotPerCompressedSection},
    // A current file whose compressed record leaves out the pads between sections.
    {"float repeats without pads", false, false, false, kRepeats, 1, kRepeats, 1, kRepeats, false,
     false, Bitmaps::kPacked, 0, true},
};

class SeriesCompression : public ::testing::TestWithParam<Form> {};

TEST_P(SeriesCompression, ReadsBack) {
  const Form& f = GetParam();
  {
    auto file = dss7::testing::CreateMemoryWithVersion(f.legacy ? "7-FW" : "7-JA");
    ASSERT_NE(file, nullptr);
    std::vector<int32_t> areas[dss7::kAreaCount];
    const dss7::RecordData data = BuildRecord(f, areas);
    const char* path =
        f.irregular ? "/B/L/FLOW/01Jan2020/IR-Year/C/" : "/B/L/FLOW/01Jan2020/1Day/C/";
    ASSERT_EQ(file->Store(path, data), dss7::Status::kOk);

    SeriesRead read;
    SeriesStatus s;
    size_t first = 0;
    if (f.irregular) {
      Instant a = 0, b = 0;
      ASSERT_TRUE(IrregularBlockWindow(path, &a, &b).ok());
      s = ReadIrregular(*file, path, a, b, &read);
    } else {
      Instant start = 0;
      int32_t count = 0;
      ASSERT_TRUE(RegularBlockWindow(path, &start, &count).ok());
      s = ReadRegular(*file, path, start, count, &read);
      first = kFirstSlot;
    }
    ASSERT_TRUE(s.ok()) << static_cast<int>(s.code);
    EXPECT_EQ(read.units, "cfs");
    EXPECT_EQ(read.type, "INST-VAL");
    ASSERT_GE(read.values.size(), first + kSteps);
    for (int32_t i = 0; i < kSteps; ++i) {
      const size_t at = first + static_cast<size_t>(i);
      const double expected =
          f.doubles ? ValueOf(f, i) : static_cast<double>(static_cast<float>(ValueOf(f, i)));
      ASSERT_EQ(read.values[at], expected) << "step " << i;
      for (int32_t k = 0; k < f.quality_size; ++k)
        ASSERT_EQ(read.quality[at * f.quality_size + k], QualityOf(f, i, k)) << "step " << i;
      for (int32_t k = 0; k < f.inote_size; ++k)
        ASSERT_EQ(read.inotes[at * f.inote_size + k], NoteOf(f, i, k)) << "step " << i;
    }
    if (f.cnotes) {
      std::string expected(first, '\0');
      for (int32_t i = 0; i < kSteps; ++i)
        expected += CnoteOf(i) + '\0';
      expected.append(read.values.size() - first - kSteps, '\0');
      EXPECT_EQ(read.cnotes, expected);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, SeriesCompression, ::testing::ValuesIn(kForms),
                         [](const ::testing::TestParamInfo<Form>& info) {
                           std::string name;
                           for (const char* c = info.param.name; *c != '\0'; ++c)
                             name += std::isalnum(static_cast<unsigned char>(*c)) ? *c : '_';
                           return name;
                         });

}  // namespace
}  // namespace varnock::engine::series
