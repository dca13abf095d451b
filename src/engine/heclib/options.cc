#include "engine/heclib/options.h"

#include <algorithm>
#include <mutex>

namespace varnock::engine {
namespace {

std::mutex g_mutex;
Options g_options;
LastRecordInfo g_last_record;
FileInquiryHook g_file_inquiry = nullptr;

// Keywords count by their first 4 characters, upper-cased and blank-padded ("TAG ").
class Keyword {
 public:
  explicit Keyword(std::string_view text) {
    for (std::size_t i = 0; i < 4; ++i)
      chars_[i] = i < text.size() ? AsciiUpper(text[i]) : ' ';
  }
  bool Is(std::string_view key) const { return View() == key; }
  bool Is(std::string_view a, std::string_view b) const { return Is(a) || Is(b); }
  std::string_view View() const { return {chars_, 4}; }

 private:
  char chars_[4];
};

// ZSET compares the first 16 characters of its text exactly: "on" or " ON" is not ON.
std::string_view Compared(std::string_view text) {
  return text.substr(0, 16);
}
bool IsOn(std::string_view text) {
  return TrimTrailingBlanks(Compared(text)) == "ON";
}
bool IsOff(std::string_view text) {
  return Compared(text).starts_with("OFF");
}

void Apply(Options& o, const Keyword& key, std::string_view text, int32_t number) {
  if (key.Is("PRGN", "PROG")) {
    o.program.Assign(text.substr(0, 6));
  } else if (key.Is("MLEV", "MLVL")) {
    o.message_level = std::clamp(number, 0, 15);
  } else if (key.Is("MUNI", "MLFN")) {
    if (number >= 1 && number <= 199) o.message_unit = number;
  } else if (key.Is("PREC")) {
    o.precision = IsOff(text) ? 0 : number;
  } else if (key.View().starts_with("TOL")) {
    if (IsOff(text)) {
      o.tolerance_on = false;
    } else if (number >= 0 && number <= 8) {
      o.tolerance_on = true;
      o.tolerance = 0.6;
      for (int32_t i = 0; i < number; ++i)
        o.tolerance /= 10.0;
    }
  } else if (key.Is("UNIT", "FILN")) {
    if (number >= 1 && number <= 199) o.next_unit = number;
  } else if (key.Is("MAP ")) {
    o.catalog_map = IsOn(text);
    if (number > 0) o.map_unit = number;
  } else if (key.Is("CCDA")) {
    o.condensed_missing = IsOn(text);
  } else if (key.Is("MAPU")) {
    o.map_unit = number;
  } else if (key.Is("TYPE")) {
    o.data_type = number;
  } else if (key.Is("80CO")) {
    o.columns_80 = IsOn(text);
  } else if (key.Is("EXCL")) {
    // These three are requests rather than switches: any call but an explicit OFF asks.
    o.exclusive = !IsOff(text);
  } else if (key.Is("MULT")) {
    o.multi_user = !IsOff(text);
  } else if (key.Is("WLOC")) {
    o.write_lock = !IsOff(text);
  } else if (key.Is("FDAT")) {
    o.file_date_text.Assign(Compared(text));
    o.file_date = number;
  } else if (key.Is("SIZE")) {
    o.size_text.Assign(Compared(text));
    o.size = number;
  } else if (key.Is("HSIZ")) {
    if (number >= 1 && number <= 8) o.hash_size = number;
  } else if (key.Is("TABL")) {
    o.stable_table = text.starts_with("S");
  } else if (key.Is("TAG ")) {
    o.tag.Assign(text.substr(0, 8));
    o.tag_set = true;
  } else if (key.Is("RVER")) {
    o.record_version = number;
  } else if (key.Is("RDAT")) {
    o.record_date.Assign(Compared(text));
  } else if (key.Is("RTIM")) {
    o.record_time.Assign(Compared(text));
  } else if (key.Is("ZONE")) {
    o.zone_offset = number;
    o.zone_name.Assign(text.substr(0, 12));
  } else if (key.Is("QUAL", "FLAG")) {
    o.quality_flag = number;
  } else if (key.Is("TWCA")) {
    o.catalog_time_window = IsOn(text);
  } else if (key.Is("PROT")) {
    o.protect = IsOn(text);
  } else if (key.Is("READ")) {
    o.read_only = IsOn(text);
  } else if (key.Is("COMP")) {
    o.compress = IsOn(text);
  } else if (key.Is("CAST", "SQST")) {
    o.catalog_status = IsOn(text);
  } else if (key.Is("DCDB")) {
    o.compression_debug = IsOn(text);
    if (number > 0) o.compression_debug_unit = number;
  } else if (key.Is("ABOR")) {
    o.abort_on_fatal = !IsOff(text);
  } else if (key.Is("UPRT")) {
    o.stamp_write_time = IsOn(text);
  } else if (key.Is("QPRO")) {
    o.quality_protect = IsOn(text);
  } else if (key.Is("HAND")) {
    o.show_handle = IsOn(text);
  } else if (key.Is("DSSV")) {
    if (number == 6 || number == 7) o.new_file_version = number;
  } else if (key.Is("ALLV")) {
    if (number == 6 || number == 7) o.all_files_version = number;
  }
}

void Number(InquiryAnswer* a, int32_t value) {
  a->has_number = true;
  a->number = value;
}

void Switch(InquiryAnswer* a, bool on) {
  Number(a, on ? 1 : 0);
  a->text.Assign(on ? "ON" : "OFF");
}

// Inquiries that need no file. Returns false for the others.
bool AnswerFromLibrary(const Keyword& key, InquiryAnswer* a) {
  std::unique_lock lock(g_mutex);
  const Options& o = g_options;
  const LastRecordInfo& r = g_last_record;
  if (key.Is("MLEV", "MLVL")) {
    Number(a, o.message_level);
  } else if (key.Is("MUNI", "MLFN")) {
    Number(a, o.message_unit);
  } else if (key.Is("PREC")) {
    Number(a, r.precision);
  } else if (key.Is("RDAT")) {
    a->text.Assign(r.written_date.View());
  } else if (key.Is("RTIM")) {
    a->text.Assign(r.written_time.View());
  } else if (key.Is("PROG")) {
    a->text.Assign(r.program.View());
  } else if (key.Is("RVER")) {
    Number(a, r.version);
  } else if (key.Is("ZONE")) {
    Number(a, r.zone_offset);
    a->text.Assign(r.zone_name.View());
  } else if (key.Is("FLAG", "QUAL")) {
    Number(a, r.quality_flag);
  } else if (key.Is("TAG ")) {
    a->text.Assign(r.tag.View());
  } else if (key.Is("TYPE")) {
    Number(a, r.type);
    a->text.Assign(RecordTypeName(r.type));
  } else if (key.Is("80CO")) {
    Switch(a, o.columns_80);
  } else if (key.Is("ABOR")) {
    Switch(a, o.abort_on_fatal);
  } else if (key.Is("QPRO")) {
    Switch(a, o.quality_protect);
  } else if (key.Is("VERS")) {
    Number(a, kOpenTableMark);
    a->text.Assign(kEngineVersionId);
  } else if (key.Is("KSTA")) {
    Number(a, -1);
  } else {
    return false;
  }
  return true;
}

}  // namespace

void SetOption(std::string_view keyword, std::string_view text, int32_t number) {
  const Keyword key(keyword);
  std::unique_lock lock(g_mutex);
  Apply(g_options, key, text, number);
}

Options CurrentOptions() {
  std::unique_lock lock(g_mutex);
  return g_options;
}

void ResetOptions() {
  std::unique_lock lock(g_mutex);
  g_options = Options();
}

void ResetOpenOptions() {
  std::unique_lock lock(g_mutex);
  const Options defaults;
  g_options.size_text = defaults.size_text;
  g_options.size = defaults.size;
  g_options.stable_table = defaults.stable_table;
  g_options.exclusive = defaults.exclusive;
  g_options.write_lock = defaults.write_lock;
  g_options.read_only = defaults.read_only;
}

void ResetNewFileVersion() {
  std::unique_lock lock(g_mutex);
  g_options.new_file_version = 0;
}

void ResetTolerance() {
  std::unique_lock lock(g_mutex);
  g_options.tolerance_on = false;
}

bool TakeNextRecordTag(FixedText<8>* tag) {
  std::unique_lock lock(g_mutex);
  if (!g_options.tag_set) return false;
  *tag = g_options.tag;
  g_options.tag_set = false;
  g_options.tag = {};
  return true;
}

void SetLastRecordInfo(const LastRecordInfo& info) {
  std::unique_lock lock(g_mutex);
  g_last_record = info;
}

void SetLastRecordType(int32_t type) {
  std::unique_lock lock(g_mutex);
  g_last_record.type = type;
}

LastRecordInfo CurrentLastRecordInfo() {
  std::unique_lock lock(g_mutex);
  return g_last_record;
}

namespace {

struct TypeName {
  int32_t type;
  std::string_view name;
};

template <size_t N>
std::string_view NameOf(const TypeName (&names)[N], int32_t type, std::string_view none) {
  for (const TypeName& n : names) {
    if (n.type == type) return n.name;
  }
  return none;
}

}  // namespace

std::string_view RecordTypeName(int32_t type) {
  static constexpr TypeName kNames[] = {
      {100, "RTS"}, {101, "RTP"}, {105, "RTD"}, {110, "ITS"}, {111, "ITP"}, {115, "ITD"},
      {200, "PD "}, {205, "PDD"}, {300, "TXT"}, {400, "GUT"}, {401, "GU "}, {410, "GHT"},
      {411, "GH "}, {420, "GAT"}, {421, "GA "}, {430, "GST"}, {431, "GS "},
  };
  return NameOf(kNames, type, "UND");
}

std::string_view RecordKindName(int32_t type) {
  // HEC defines "ITPA" for irregular patterns but its own query answers "UDF"; catalogs are
  // clearer with the defined name.
  static constexpr TypeName kNames[] = {
      {20, "LOC"},   {90, "ARR"},   {100, "RTS"},   {101, "RTPA"}, {102, "RTPR"}, {105, "RTD"},
      {107, "RTPD"}, {110, "ITS"},  {111, "ITPA"},  {112, "ITPR"}, {115, "ITD"},  {117, "ITPD"},
      {200, "PD"},   {205, "PDD"},  {300, "TXT"},   {310, "TT"},   {400, "GUT"},  {401, "GU"},
      {410, "GHT"},  {411, "GH"},   {420, "GAT"},   {421, "GA"},   {430, "GST"},  {431, "GS"},
      {450, "TIN"},  {600, "FILE"}, {610, "IMAGE"},
  };
  return NameOf(kNames, type, "UDF");
}

void SetFileInquiryHook(FileInquiryHook hook) {
  std::unique_lock lock(g_mutex);
  g_file_inquiry = hook;
}

void Inquire(int32_t* ifltab, std::string_view keyword, std::span<char> text, int32_t* number) {
  const Keyword key(keyword);
  InquiryAnswer answer;
  bool answered = AnswerFromLibrary(key, &answer);
  if (!answered && ifltab != nullptr && ifltab[0] == kOpenTableMark) {
    FileInquiryHook hook = nullptr;
    {
      std::unique_lock lock(g_mutex);
      hook = g_file_inquiry;
    }
    // The hook runs unlocked: it may well read the options itself.
    const std::string_view text_in(text.data(), text.size());
    if (hook != nullptr) answered = hook(ifltab, key.View(), text_in, *number, &answer);
  }
  if (!answered) {
    answer = InquiryAnswer();
    // Without an open file: text inquiries come back blank, CLEA has nothing to clear, and
    // every other keyword (numeric ones and unknown ones alike) answers -1.
    if (!key.Is("NAME", "FDAT") && !key.Is("LWDA", "LWTI") && !key.Is("CLEA")) {
      Number(&answer, -1);
    }
  }
  AssignBlankPadded(text, answer.text.View());
  if (answer.has_number) *number = answer.number;
}

}  // namespace varnock::engine
