#include "varnock/pathname.h"

#include <algorithm>
#include <cctype>

#include "varnock/error.h"
#include "varnock/heclib.h"

namespace varnock {

namespace {

std::string UpperCase(std::string text) {
  for (char& c : text)
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

constexpr int32_t kNonstandardInterval = 128;
constexpr int32_t kNotNamed = -1;
constexpr int32_t kNothingRecognised = -10;

}  // namespace

int32_t IntervalMinutes(const std::string& name) {
  for (const IntervalEntry& entry : kIntervals) {
    if (name == entry.name) return entry.minutes;
  }
  return 0;
}

std::optional<std::string> IntervalName(int32_t minutes) {
  for (const IntervalEntry& entry : kIntervals) {
    if (minutes == entry.minutes) return std::string(entry.name);
  }
  return std::nullopt;
}

void Pathname::SetPart(int index, const std::string& value) {
  parts_[index] = UpperCase(value);
  if (index == 4) interval_ = 0;
}

void Pathname::Apart(const std::string& value) {
  SetPart(0, value);
}
void Pathname::Bpart(const std::string& value) {
  SetPart(1, value);
}
void Pathname::Cpart(const std::string& value) {
  SetPart(2, value);
}
void Pathname::Dpart(const std::string& value) {
  SetPart(3, value);
}
void Pathname::Epart(const std::string& value) {
  SetPart(4, value);
}
void Pathname::Fpart(const std::string& value) {
  SetPart(5, value);
}

std::string Pathname::Name() const {
  std::string name = "/";
  for (const std::string& part : parts_) {
    name += TrimBlanks(FitField(part, kPartWidth));
    name += '/';
  }
  return FitField(name, kPathnameWidth);
}

void Pathname::Name(const std::string& value) {
  // hecZupath fits the text into HECLIB's 80-column field itself.
  const PathnameParts parsed = hecZupath(UpperCase(value.substr(0, kPathnameWidth)));
  std::copy(parsed.parts.begin(), parsed.parts.end(), parts_);
  interval_ = 0;
}

bool Pathname::IsValid() const {
  const std::string name = Name();
  const int32_t length = static_cast<int32_t>(TrimTrailingBlanks(name).size());
  return hecZchkpn(name, length) == 0;
}

bool Pathname::IsBlank() const {
  return std::all_of(std::begin(parts_), std::end(parts_),
                     [](const std::string& part) { return part.empty(); });
}

void Pathname::Clear() {
  for (std::string& part : parts_)
    part.clear();
  interval_ = 0;
}

int32_t Pathname::Interval() {
  // Parts set by hand are upper-case already; parts taken from a file keep its case ("1Hour").
  if (interval_ == 0) interval_ = IntervalMinutes(UpperCase(TrimBlanks(parts_[4])));
  return interval_;
}

void Pathname::Interval(int32_t minutes) {
  const auto name = IntervalName(minutes);
  if (!name) {
    throw AutomationError(kNonstandardInterval, "Pathname",
                          "Nonstandard time interval specified: " + std::to_string(minutes));
  }
  parts_[4] = *name;
  interval_ = 0;
}

std::shared_ptr<Pathname> Pathname::Clone() const {
  auto copy = std::make_shared<Pathname>();
  for (int i = 0; i < 6; ++i)
    copy->SetPart(i, parts_[i]);
  copy->interval_ = 0;
  return copy;
}

void Pathname::SetStoredParts(const std::string (&parts)[6]) {
  std::copy(parts, parts + 6, parts_);
  interval_ = 0;
}

void Pathname::SetStoredParts(const std::array<std::string_view, 6>& parts) {
  for (int i = 0; i < 6; ++i)
    parts_[i].assign(parts[static_cast<size_t>(i)]);
  interval_ = 0;
}

void Pathname::SetPartsFromString(const std::string& parts) {
  std::array<std::string, 6> fields;
  std::copy(std::begin(parts_), std::end(parts_), fields.begin());
  const std::array<int32_t, 6> lengths = hecZgpnp(parts, fields);
  if (lengths[0] == kNothingRecognised) return;
  for (int i = 0; i < 6; ++i) {
    if (lengths[i] == kNotNamed) continue;
    const size_t length = std::clamp<int32_t>(lengths[i], 0, kPartWidth);
    SetPart(i, fields[i].substr(0, length));
  }
}

}  // namespace varnock
