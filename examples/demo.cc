// Demo of the Varnock library: composes and parses pathnames, walks the interval vocabulary
// and converts dates to and from HEC time.
#include <cstdio>
#include <exception>

#include <varnock/varnock.h>

int main() {
  using namespace varnock;
  try {
    auto path = std::make_shared<Pathname>();
    path->Apart("Missouri River");
    path->Bpart("Hermann");
    path->Cpart("flow");
    path->Dpart("01jan2001");
    path->Interval(60);
    path->Fpart("obs");
    std::printf("composed pathname : %s\n", TrimTrailingBlanks(path->Name()).c_str());
    std::printf("valid             : %s\n", path->IsValid() ? "yes" : "no");
    std::printf("interval          : %d minutes (%s)\n", path->Interval(), path->Epart().c_str());

    auto parsed = std::make_shared<Pathname>();
    parsed->Name("/basin/gauge 7/stage//1day/rev 2/");
    std::printf("parsed parts      : A=%s B=%s C=%s D=%s E=%s F=%s (%d minutes)\n",
                parsed->Apart().c_str(), parsed->Bpart().c_str(), parsed->Cpart().c_str(),
                parsed->Dpart().c_str(), parsed->Epart().c_str(), parsed->Fpart().c_str(),
                parsed->Interval());
    parsed->SetPartsFromString("B=SOUTH FORK F=SIM");
    std::printf("after part string : %s\n", TrimTrailingBlanks(parsed->Name()).c_str());

    const Date start = Date::Serial(2001, 3, 7, 9, 30);
    std::string date_text, time_text;
    DateToHecText(Variant(start), date_text, time_text);
    const int32_t julian = hecDatJul(date_text);
    std::printf("date              : %s -> HEC text %s %s -> julian day %d\n",
                start.ToString().c_str(), date_text.c_str(), time_text.c_str(), julian);
    std::printf("julian as text    : style 8 \"%s\", style 104 \"%s\", style -11 \"%s\"\n",
                hecJulDat(julian, 8).c_str(), hecJulDat(julian, 104).c_str(),
                hecJulDat(julian, -11).c_str());
    std::printf("end of day        : julian %d + 1440 min = %s\n", julian,
                HecTimeToDate(julian, 1440).ToString().c_str());
    try {
      hecDatJul("07.03.2001");
    } catch (const AutomationError& error) {
      std::printf("bad date          : error %d from %s: %s\n", error.Number(),
                  error.Source().c_str(), error.Description().c_str());
    }
    PurgeMessages();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "varnock-demo: %s\n", error.what());
    return 1;
  }
  return 0;
}
