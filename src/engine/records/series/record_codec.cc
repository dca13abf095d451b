#include "engine/records/series/record_codec.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

#include "engine/dss7/layout.h"

namespace varnock::engine::series {
namespace h = ts_header;
namespace {

static_assert(std::endian::native == std::endian::little,
              "value images are copied as they lie in memory");

constexpr int64_t kMaxInts = dss7::kMaxAreaInt32;

int64_t RoundEven(int64_t n) {
  return n + (n & 1);
}

std::string_view TrimRight(std::string_view s) {
  while (!s.empty() && (s.back() == ' ' || s.back() == '\0'))
    s.remove_suffix(1);
  return s;
}

// Reads NUL-separated strings from `bytes` into the outputs, in order.
void UnpackStrings(std::string_view bytes, std::span<std::string* const> outs) {
  bytes = bytes.substr(0, 200);
  for (std::string* out : outs) {
    const size_t end = bytes.find('\0');
    const std::string_view one = bytes.substr(0, end);
    const std::string_view trimmed = TrimRight(one);
    out->assign(trimmed.find_first_not_of(' ') == std::string_view::npos ? std::string_view()
                                                                         : trimmed);
    if (end == std::string_view::npos) break;
    bytes.remove_prefix(end + 1);
  }
}

std::string_view Bytes(std::span<const int32_t> ints) {
  return {reinterpret_cast<const char*>(ints.data()), ints.size() * 4};
}

// One repeat-compressible section (values, quality or integer notes) of `elem` ints a step.
struct Section {
  int32_t number;  // ints stored
  int32_t elem;    // ints per time step
  int32_t flag;    // 0 none, 1 repeat bitmap, 2 all equal
};

constexpr int kSections = 3;  // values, quality, integer notes, in storage order

// Where the repeat bitmap of section k may start in header 2. The documented place packs the
// bitmaps of flag-1 sections back to back; HEC's writers also give every compressed section a
// slot, left zero for an all-equal one, and some give every present section one. The first
// place whose bitmap agrees with the stored count is taken.
std::array<int64_t, 3> BitmapPlaces(const Section (&sections)[kSections], int k, int64_t words) {
  int64_t packed = 0, compressed = 0, present = 0;
  for (int i = 0; i < k; ++i) {
    packed += sections[i].flag == 1 ? words : 0;
    compressed += sections[i].flag != 0 && sections[i].elem > 0 ? words : 0;
    present += sections[i].elem > 0 ? words : 0;
  }
  return {packed, compressed, present};
}

// Elements a repeat bitmap keeps (zero bits among the first `count`), or -1 when it claims that
// step 0 repeats.
int64_t KeptSteps(const int32_t* bits, int32_t count) {
  if (count > 0 && (bits[0] & 1) != 0) return -1;
  int64_t repeats = 0;
  for (int32_t w = 0; w < count / 32; ++w)
    repeats += std::popcount(static_cast<uint32_t>(bits[w]));
  if (count % 32 != 0) {
    const uint32_t mask = (1u << (count % 32)) - 1;
    repeats += std::popcount(static_cast<uint32_t>(bits[count / 32]) & mask);
  }
  return count - repeats;
}

// Expands a section starting at v1[pos] into out (count * elem ints); *next is where the
// following section starts before padding. A flag-1 bitmap is looked for at `places`.
bool Expand(const Section& s, int32_t count, std::span<const int32_t> v1, int64_t pos,
            std::span<const int32_t> header2, std::span<const int64_t> places,
            std::vector<int32_t>* out, int64_t* next) {
  if (s.elem < 0 || s.number < 0) return false;
  // An all-equal section expands a few stored ints to count * elem: no more than an area may
  // hold, whatever the counts say.
  if (int64_t{count} * s.elem > kMaxInts) return false;
  if (s.flag == 0 && s.number != int64_t{count} * s.elem) return false;
  out->assign(static_cast<size_t>(count) * s.elem, 0);
  *next = pos + s.number;
  if (s.elem == 0 || count == 0) return s.number == 0;
  // The pad after the last section may be missing (records of 7-IQ files end without it).
  if (pos + s.number > static_cast<int64_t>(v1.size())) return false;
  const int32_t* src = v1.data() + pos;
  if (s.flag == 0) {
    std::copy_n(src, s.number, out->begin());
    return true;
  }
  if (s.flag == 2) {
    // One element for every step. Some writers count a double as one value, not two ints.
    if (s.number < 1 || pos + s.elem > static_cast<int64_t>(v1.size())) return false;
    *next = pos + std::max(s.number, s.elem);
    for (int32_t i = 0; i < count; ++i)
      std::copy_n(src, s.elem, out->begin() + int64_t{i} * s.elem);
    return true;
  }
  if (s.flag != 1 || s.number % s.elem != 0) return false;
  const int64_t words = (int64_t{count} + 31) / 32;
  const int32_t* bits = nullptr;
  for (int64_t at : places) {
    if (at + words <= static_cast<int64_t>(header2.size()) &&
        KeptSteps(header2.data() + at, count) * s.elem == s.number) {
      bits = header2.data() + at;
      break;
    }
  }
  if (bits == nullptr) return false;
  int64_t taken = 0;
  for (int32_t i = 0; i < count; ++i) {
    int32_t* dst = out->data() + int64_t{i} * s.elem;
    if ((static_cast<uint32_t>(bits[i / 32]) >> (i % 32)) & 1u) {
      std::copy_n(dst - s.elem, s.elem, dst);
    } else {
      std::copy_n(src + taken * s.elem, s.elem, dst);
      ++taken;
    }
  }
  return true;
}

// The values, quality and notes sections of values1 from `pos` on, in the padded (current) or
// unpadded (legacy) layout.
bool DecodeSections(const Section (&sections)[kSections], std::span<const int32_t> v1,
                    std::span<const int32_t> h2, int64_t pos, bool padded, int32_t cnote_bytes,
                    SeriesBlock* out) {
  const int64_t words = (int64_t{out->count} + 31) / 32;
  std::vector<int32_t>* outs[kSections] = {&out->values, &out->quality, &out->inotes};
  out->cnotes.clear();
  for (int k = 0; k < kSections; ++k) {
    if (k == 2 && cnote_bytes > 0) break;
    const std::array<int64_t, 3> places = BitmapPlaces(sections, k, words);
    int64_t next = 0;
    if (!Expand(sections[k], out->count, v1, pos, h2, places, outs[k], &next)) return false;
    pos = padded ? RoundEven(next) : next;
  }
  if (cnote_bytes == 0) return true;
  // Character notes take the notes section's place; its number counts their ints.
  const int64_t ints = (int64_t{cnote_bytes} + 3) / 4;
  if (sections[2].number != ints || pos + ints > static_cast<int64_t>(v1.size())) return false;
  out->cnotes.assign(
      Bytes(v1.subspan(static_cast<size_t>(pos))).substr(0, static_cast<size_t>(cnote_bytes)));
  return std::count(out->cnotes.begin(), out->cnotes.end(), '\0') == out->count &&
         out->cnotes.back() == '\0';
}

// The element size (1 float, 2 double) of a record type of the wanted kind; 0 for other types.
int32_t ElementSize(int32_t type, bool irregular, bool profile) {
  const int32_t base = (irregular ? kIrregularFloat : kRegularFloat) + (profile ? 2 : 0);
  return type == base ? 1 : type == base + 5 ? 2 : 0;
}

}  // namespace

std::string PackStrings(std::span<const std::string_view> strings) {
  std::string out;
  for (std::string_view s : strings) {
    s = TrimRight(s);
    out.append(s);
    const size_t used = s.size() + 1;
    if (s.empty())
      out.append(7, ' ');
    else if (used % 8 != 0)
      out.append(8 - used % 8, ' ');
    out.push_back('\0');
  }
  return out;
}

DecodeResult DecodeSeries(const dss7::Record& record, bool irregular, int file_version,
                          SeriesBlock* out, bool profile) {
  const std::vector<int32_t>& ih = record.areas[dss7::kInternalHeader];
  const std::vector<int32_t>& h2 = record.areas[dss7::kHeader2];
  const std::vector<int32_t>& v1 = record.areas[dss7::kValues1];
  const std::vector<int32_t>& v2 = record.areas[dss7::kValues2];
  const int32_t type = record.info.type;
  if (type < (irregular ? 110 : 100) || type >= (irregular ? 200 : 110))
    return DecodeResult::kWrongType;
  // Patterns, and profiles or plain series when the other is wanted, are records of another
  // kind, not damaged ones.
  const int32_t element = ElementSize(type, irregular, profile);
  if (element == 0) return DecodeResult::kWrongType;
  if (static_cast<int64_t>(ih.size()) < h::kFixedInts) return DecodeResult::kDamaged;
  const int64_t depths = profile ? ih[h::kDepths] : 0;
  if (profile && (depths < 1 || depths * element > static_cast<int64_t>(v2.size())))
    return DecodeResult::kDamaged;
  out->record_type = type;
  out->value_size = profile ? static_cast<int32_t>(depths * element) : element;
  out->info = record.info;
  out->granularity = ih[h::kGranularity];
  out->precision = ih[h::kPrecision];
  out->offset = irregular ? 0 : ih[h::kOffset];
  out->first_position = ih[h::kFirstPosition];
  out->last_position = ih[h::kLastPosition];
  // The count written with the areas wins over the info block's: an in-place rewrite that
  // failed before its info block landed leaves the old dataCount beside new areas.
  int64_t count = record.info.data_count;
  if (!irregular)
    count = int64_t{out->last_position} - out->first_position + 1;
  else if (ih[h::kValuesCompression] == 0)
    count = ih[h::kValuesNumber] / out->value_size;
  if (ih[h::kDepths] != depths || ih[h::kValueSize] != out->value_size ||
      ih[h::kElementSize] != element || count < 0 || count > kMaxInts ||
      (!irregular && out->first_position < 0))
    return DecodeResult::kDamaged;
  out->count = static_cast<int32_t>(count);
  out->depths.assign(v2.begin(), v2.begin() + depths * element);

  // Strings: after the blank filler, or at int 17 in records of the legacy layout. Profiles
  // name the depths' units first.
  const int64_t strings_at =
      (ih.size() > h::kFiller && (ih[h::kFiller] == 0 || ih[h::kFiller] == h::kBlanks))
          ? h::kStrings
          : h::kFiller;
  const std::span<const int32_t> string_ints =
      strings_at < static_cast<int64_t>(ih.size())
          ? std::span<const int32_t>(ih).subspan(static_cast<size_t>(strings_at))
          : std::span<const int32_t>();
  std::string* const plain[] = {&out->units, &out->type, &out->zone};
  std::string* const profiled[] = {&out->depth_units, &out->units, &out->type, &out->zone};
  out->depth_units.clear();
  if (profile)
    UnpackStrings(Bytes(string_ints), profiled);
  else
    UnpackStrings(Bytes(string_ints), plain);

  int64_t pos = 0;
  if (irregular) {
    if (count > static_cast<int64_t>(v1.size())) return DecodeResult::kDamaged;
    out->times.assign(v1.begin(), v1.begin() + count);
    int32_t previous = 0;
    for (int32_t t : out->times) {
      if (t < previous) return DecodeResult::kDamaged;
      previous = t;
    }
    pos = count;
  } else {
    out->times.clear();
  }
  out->quality_size = ih[h::kQualitySize];
  out->inote_size = ih[h::kInoteSize];
  const int32_t cnote_bytes = ih[h::kCnotesLength];
  out->has_cnotes = cnote_bytes > 0;
  if (out->quality_size < 0 || out->quality_size > 64 || out->inote_size < 0 ||
      out->inote_size > 64 || cnote_bytes < 0 || (out->has_cnotes && out->inote_size > 0))
    return DecodeResult::kDamaged;
  const Section sections[kSections] = {
      {ih[h::kValuesNumber], out->value_size, ih[h::kValuesCompression]},
      {ih[h::kQualityNumber], out->quality_size, ih[h::kQualityCompression]},
      {ih[h::kNotesNumber], out->inote_size, ih[h::kNotesCompression]},
  };
  // The file's version says which layout its records have; a record that does not fit it is
  // tried in the other one (writers other than HEC's do not always follow the version).
  const bool padded = file_version >= kFirstPaddedLayout;
  if (!DecodeSections(sections, v1, h2, pos, padded, cnote_bytes, out) &&
      !DecodeSections(sections, v1, h2, pos, !padded, cnote_bytes, out))
    return DecodeResult::kDamaged;
  out->user_header = record.areas[dss7::kUserHeader];
  return DecodeResult::kOk;
}

void EncodeSeries(const SeriesBlock& b, int file_version, std::vector<int32_t>* header,
                  std::vector<int32_t>* values1) {
  const bool padded = file_version >= kFirstPaddedLayout;
  std::string strings;
  if (padded) {
    const std::string_view parts[] = {b.units, b.type, b.zone};
    strings = PackStrings(parts);
  } else {
    for (const std::string* s : {&b.units, &b.type, &b.zone}) {
      strings.append(TrimRight(*s));
      strings.push_back('\0');
    }
    strings.resize((strings.size() + 3) / 4 * 4, '\0');
  }
  const int strings_at = padded ? h::kStrings : h::kFiller;
  header->assign(static_cast<size_t>(strings_at) + strings.size() / 4, 0);
  int32_t* ih = header->data();
  const int32_t n = b.count;
  const int32_t cnote_bytes = b.has_cnotes ? static_cast<int32_t>(b.cnotes.size()) : 0;
  ih[h::kGranularity] = b.granularity;
  ih[h::kPrecision] = b.precision;
  ih[h::kOffset] = b.offset;
  ih[h::kFirstPosition] = b.first_position;
  ih[h::kLastPosition] = b.last_position;
  ih[h::kValuesNumber] = n * b.value_size;
  ih[h::kValueSize] = b.value_size;
  ih[h::kElementSize] = b.value_size;
  ih[h::kQualityNumber] = n * b.quality_size;
  ih[h::kQualitySize] = b.quality_size;
  ih[h::kNotesNumber] = b.has_cnotes ? (cnote_bytes + 3) / 4 : n * b.inote_size;
  ih[h::kInoteSize] = b.has_cnotes ? 0 : b.inote_size;
  ih[h::kCnotesLength] = cnote_bytes;
  if (padded) ih[h::kFiller] = h::kBlanks;
  std::memcpy(ih + strings_at, strings.data(), strings.size());

  values1->clear();
  auto pad = [&] {
    if (padded && (values1->size() & 1)) values1->push_back(0);
  };
  values1->insert(values1->end(), b.times.begin(), b.times.end());
  values1->insert(values1->end(), b.values.begin(), b.values.end());
  pad();
  values1->insert(values1->end(), b.quality.begin(), b.quality.end());
  pad();
  if (b.has_cnotes) {
    const size_t at = values1->size();
    values1->resize(at + static_cast<size_t>(ih[h::kNotesNumber]), 0);
    std::memcpy(values1->data() + at, b.cnotes.data(), b.cnotes.size());
  } else {
    values1->insert(values1->end(), b.inotes.begin(), b.inotes.end());
  }
  pad();
}

}  // namespace varnock::engine::series
