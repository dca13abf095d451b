#include "series/series_common.h"

#include <cctype>

#include "varnock/error.h"
#include "varnock/heclib.h"
#include "varnock/pathname.h"

namespace varnock::series {

std::string UpperCase(std::string text) {
  for (char& c : text)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

size_t Slot(int32_t index, size_t slot_count) {
  const int64_t slot = static_cast<int64_t>(index) + 1;
  if (slot < 0 || static_cast<uint64_t>(slot) >= slot_count)
    RaiseHostError(hostSubscriptOutOfRange);
  return static_cast<size_t>(slot);
}

DateUnit DateUnitOfWord(const std::string& word) {
  const std::string key = UpperCase(TrimBlanks(word));
  if (key == "YYYY") return DateUnit::Year;
  if (key == "Q") return DateUnit::Quarter;
  if (key == "M") return DateUnit::Month;
  if (key == "Y" || key == "D" || key == "W") return DateUnit::Day;
  if (key == "WW") return DateUnit::Week;
  if (key == "H") return DateUnit::Hour;
  if (key == "N") return DateUnit::Minute;
  if (key == "S") return DateUnit::Second;
  RaiseHostError(hostInvalidProcedureCall);
}

InterfaceName InterfaceOfName(const std::string& name) {
  const std::string key = UpperCase(TrimBlanks(name));
  if (key == "ITIMESERIESDIRECT") return InterfaceName::kTimeSeriesDirect;
  if (key == "IHTSLSTREAM") return InterfaceName::kHtslStream;
  if (key == "IDSSRECORD") return InterfaceName::kDssRecord;
  if (key == "IRTSTRANSFORM") return InterfaceName::kRtsTransform;
  return InterfaceName::kNone;
}

DSSDatabase& RequireDatabase(const std::shared_ptr<DSSDatabase>& database) {
  if (!database) RaiseHostError(hostObjectNotSet);
  return *database;
}

AutomationError NotSupported(const std::string& source, const std::string& member,
                             const std::string& hint) {
  std::string text = member + " is not supported by " + (source.empty() ? "this object" : source);
  if (!hint.empty()) text += "; " + hint;
  return AutomationError(kObjectErrorBase + kNotSetUp, source, text);
}

std::string NoDataText(const Pathname& pathname) {
  return "No data found for " + TrimTrailingBlanks(pathname.Name());
}

}  // namespace varnock::series
