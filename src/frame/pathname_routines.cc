// Wrappers of HECLIB's pathname routines.
#include "frame/engine_table.h"
#include "varnock/error.h"
#include "varnock/heclib.h"

namespace varnock {

namespace {
constexpr int32_t kZupathHelpContext = 514;
}  // namespace

PathnameParts hecZupath(const std::string& pathname) {
  const auto& engine = frame::Engine();
  std::string field = FitField(pathname, kPathnameWidth);
  int32_t begins[6] = {};
  int32_t ends[6] = {};
  int32_t lengths[6] = {};
  int32_t status = 0;
  engine.zupath(field.data(), kPathnameWidth, begins, ends, lengths, &status);
  if (status != 0) {
    throw AutomationError(8197, "hecZupath", "Bad pathname: " + pathname, kHelpFile,
                          kZupathHelpContext);
  }
  PathnameParts result;
  for (int i = 0; i < 6; ++i) {
    // Positions are 1-based within the field; anything out of range yields an empty part.
    const int32_t begin = begins[i] - 1;
    const int32_t length = lengths[i];
    if (begin >= 0 && length > 0 && static_cast<size_t>(begin) + length <= kPathnameWidth)
      result.parts[i] = field.substr(static_cast<size_t>(begin), static_cast<size_t>(length));
  }
  return result;
}

int32_t hecZchkpn(const std::string& pathname, int32_t length) {
  const auto& engine = frame::Engine();
  std::string field = FitField(pathname, kPathnameWidth);
  int32_t status = 0;
  engine.zchkpn(field.data(), kPathnameWidth, &length, &status);
  return status;
}

std::array<int32_t, 6> hecZgpnp(const std::string& text, std::array<std::string, 6>& parts) {
  const auto& engine = frame::Engine();
  std::string line = FitField(text, kPathnameWidth);
  std::array<std::string, 6> fields;
  for (int i = 0; i < 6; ++i)
    fields[i] = FitField(parts[i], kPartWidth);
  // Zeroed first: -2 on entry would tell ZGPNP never to set that part.
  std::array<int32_t, 6> lengths{};
  constexpr int32_t w = kPartWidth;
  engine.zgpnp(line.data(), kPathnameWidth, fields[0].data(), w, fields[1].data(), w,
               fields[2].data(), w, fields[3].data(), w, fields[4].data(), w, fields[5].data(), w,
               lengths.data());
  for (int i = 0; i < 6; ++i)
    parts[i] = fields[i];
  return lengths;
}

}  // namespace varnock
