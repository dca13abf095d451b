// Pathname: a HEC-DSS record pathname of six parts, "/A/B/C/D/E/F/", and the vocabulary of
// time intervals carried in its E part.
#ifndef VARNOCK_PATHNAME_H_
#define VARNOCK_PATHNAME_H_

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "varnock/interval_vocabulary.h"
#include "varnock/object.h"

namespace varnock {

// Minutes of an E part name (exact match), or 0 when the table has no such name.
VARNOCK_API int32_t IntervalMinutes(const std::string& name);
// The E part name of a minute count, or nothing when the table has no such count.
VARNOCK_API std::optional<std::string> IntervalName(int32_t minutes);

class VARNOCK_API Pathname : public Object {
 public:
  // Parts are stored upper-cased and otherwise as given.
  const std::string& Apart() const { return parts_[0]; }
  const std::string& Bpart() const { return parts_[1]; }
  const std::string& Cpart() const { return parts_[2]; }
  const std::string& Dpart() const { return parts_[3]; }
  const std::string& Epart() const { return parts_[4]; }
  const std::string& Fpart() const { return parts_[5]; }
  void Apart(const std::string& value);
  void Bpart(const std::string& value);
  void Cpart(const std::string& value);
  void Dpart(const std::string& value);
  void Epart(const std::string& value);  // also forgets the cached interval
  void Fpart(const std::string& value);

  // The composed pathname, always exactly 80 characters (blank-padded).
  std::string Name() const;
  // Parses a pathname into the six parts; raises 8197 (source "hecZupath") when it has no
  // slash or fewer than seven.
  void Name(const std::string& value);

  // Whether HECLIB accepts the composed name.
  bool IsValid() const;
  // Whether all six parts are empty.
  bool IsBlank() const;
  void Clear();

  // The time step in minutes named by the E part (0 when it names none).
  int32_t Interval();
  // Sets the E part to the name of a minute count; raises 128 for a count the table lacks.
  void Interval(int32_t minutes);

  std::shared_ptr<Pathname> Clone() const;
  // Sets all six parts exactly as a file stores them, case kept (the part puts upper-case).
  void SetStoredParts(const std::string (&parts)[6]);
  void SetStoredParts(const std::array<std::string_view, 6>& parts);
  // Sets parts from a part string such as "A=RIVER B=GAUGE F=OBS" (HECLIB's ZGPNP).
  void SetPartsFromString(const std::string& parts);

 private:
  void SetPart(int index, const std::string& value);

  std::string parts_[6];
  int32_t interval_ = 0;
};

}  // namespace varnock

#endif  // VARNOCK_PATHNAME_H_
