// The extension module varnock._varnock: errors, value conversions, enumerations and the
// class families.
#include <pybind11/eval.h>

#include <cmath>

#include "common.h"
// After Python.h, which common.h brings in.
#include <datetime.h>

namespace varnock::python {

namespace {

// The Python side of the automation error object and of Null, defined once at import.
constexpr const char* kPythonDefinitions = R"PY(
class AutomationError(Exception):
    """An error of the Varnock object model, as the automation host's error object.

    Attributes: number (signed 32-bit, as Err.Number), hresult (the same number unsigned),
    source, description, helpfile, helpcontext.
    """

    def __init__(self, number, source="", description="", helpfile="", helpcontext=0):
        super().__init__(number, source, description, helpfile, helpcontext)
        self.number = number
        self.source = source
        self.description = description
        self.helpfile = helpfile
        self.helpcontext = helpcontext

    @property
    def hresult(self):
        return self.number & 0xFFFFFFFF

    def __str__(self):
        code = self.hresult
        shown = "0x%08X" % code if code > 0xFFFF else str(self.number)
        text = self.description or "Automation error"
        return "%s %s: %s" % (shown, self.source, text) if self.source else "%s %s" % (shown, text)


class NullType:
    """The automation Null: a value that is known to be absent (a Null database field)."""

    _instance = None

    def __new__(cls):
        if cls._instance is None:
            cls._instance = super().__new__(cls)
        return cls._instance

    def __repr__(self):
        return "Null"

    def __bool__(self):
        return False

    def __reduce__(self):
        return (NullType, ())


Null = NullType()
)PY";

py::object* g_null = nullptr;
py::object* g_enums = nullptr;
py::object* g_error_class = nullptr;

// Days from 1970-01-01 of a civil date, and back (proleptic Gregorian).
int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<int64_t>(doe) - 719468;
}
void CivilFromDays(int64_t z, int64_t& y, unsigned& m, unsigned& d) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  d = doy - (153 * mp + 2) / 5 + 1;
  m = mp < 10 ? mp + 3 : mp - 9;
  y = static_cast<int64_t>(yoe) + era * 400 + (m <= 2);
}

constexpr int64_t kSerialDayOfUnixEpoch = 25569;  // 1970-01-01 counted from 1899-12-30
constexpr int64_t kMicrosPerDay = 86400LL * 1000000;

// Microseconds since 1899-12-30 00:00 on a continuous time line.
int64_t SerialToMicros(double serial) {
  double linear = serial;
  if (serial < 0) {
    const double day = std::ceil(serial);
    linear = day + (day - serial);
  }
  return std::llround(linear * static_cast<double>(kMicrosPerDay));
}
double MicrosToSerial(int64_t micros) {
  const int64_t day =
      micros >= 0 ? micros / kMicrosPerDay : -((-micros + kMicrosPerDay - 1) / kMicrosPerDay);
  const double fraction = static_cast<double>(micros - day * kMicrosPerDay) / kMicrosPerDay;
  return day >= 0 ? static_cast<double>(day) + fraction : static_cast<double>(day) - fraction;
}

}  // namespace

std::mutex& FrameMutex() {
  static std::mutex mutex;
  return mutex;
}

int64_t DateToUnixSeconds(Date date) {
  const int64_t micros = SerialToMicros(date.Serial());
  const int64_t seconds =
      micros >= 0 ? (micros + 500000) / 1000000 : -((-micros + 499999) / 1000000);
  return seconds - kSerialDayOfUnixEpoch * 86400;
}

Date UnixSecondsToDate(int64_t seconds) {
  return Date(MicrosToSerial((seconds + kSerialDayOfUnixEpoch * 86400) * 1000000));
}

py::object DateToPython(Date date) {
  if (!std::isfinite(date.Serial()) || std::fabs(date.Serial()) > 3.0e6)
    throw py::value_error("date out of range: serial " + std::to_string(date.Serial()));
  const int64_t micros = SerialToMicros(date.Serial());
  const int64_t day =
      micros >= 0 ? micros / kMicrosPerDay : -((-micros + kMicrosPerDay - 1) / kMicrosPerDay);
  int64_t of_day = micros - day * kMicrosPerDay;
  int64_t year;
  unsigned month, mday;
  CivilFromDays(day - kSerialDayOfUnixEpoch, year, month, mday);
  if (year < 1 || year > 9999)
    throw py::value_error("date out of range: year " + std::to_string(year));
  const int hour = static_cast<int>(of_day / 3600000000LL);
  of_day %= 3600000000LL;
  const int minute = static_cast<int>(of_day / 60000000LL);
  of_day %= 60000000LL;
  PyObject* result = PyDateTime_FromDateAndTime(
      static_cast<int>(year), static_cast<int>(month), static_cast<int>(mday), hour, minute,
      static_cast<int>(of_day / 1000000), static_cast<int>(of_day % 1000000));
  if (result == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::object>(result);
}

bool DateFromPython(py::handle value, Date& out) {
  if (!value) return false;
  PyObject* p = value.ptr();
  if (PyDateTime_Check(p) || PyDate_Check(p)) {
    int64_t micros =
        (DaysFromCivil(PyDateTime_GET_YEAR(p), PyDateTime_GET_MONTH(p), PyDateTime_GET_DAY(p)) +
         kSerialDayOfUnixEpoch) *
        kMicrosPerDay;
    if (PyDateTime_Check(p)) {
      micros += ((PyDateTime_DATE_GET_HOUR(p) * 60LL + PyDateTime_DATE_GET_MINUTE(p)) * 60 +
                 PyDateTime_DATE_GET_SECOND(p)) *
                    1000000LL +
                PyDateTime_DATE_GET_MICROSECOND(p);
    }
    out = Date(MicrosToSerial(micros));
    return true;
  }
  if (PyBool_Check(p)) return false;
  if (PyFloat_Check(p) || PyLong_Check(p)) {
    const double serial = py::cast<double>(value);
    if (!std::isfinite(serial)) return false;
    out = Date(serial);
    return true;
  }
  if (PyUnicode_Check(p)) {
    std::optional<Date> parsed = Date::Parse(py::cast<std::string>(value));
    if (!parsed) throw py::value_error("not a date: " + py::cast<std::string>(value));
    out = *parsed;
    return true;
  }
  // numpy.datetime64 and anything else that converts to a datetime.
  if (py::hasattr(value, "dtype") && py::hasattr(value, "astype")) {
    py::object numpy = py::module_::import("numpy");
    if (py::bool_(numpy.attr("issubdtype")(value.attr("dtype"), numpy.attr("datetime64")))) {
      py::object seconds = value.attr("astype")("datetime64[us]").attr("astype")("int64");
      const int64_t us = py::cast<int64_t>(seconds);
      out = Date(MicrosToSerial(us + kSerialDayOfUnixEpoch * kMicrosPerDay));
      return true;
    }
  }
  return false;
}

py::object ObjectToPython(const std::shared_ptr<Object>& object) {
  return object ? py::cast(object) : py::none();
}

py::object NullObject() {
  return *g_null;
}

py::object EnumClass(const char* name) {
  return (*g_enums)[name];
}

py::object EnumMember(const char* name, int32_t value) {
  py::object cls = EnumClass(name);
  py::object member = cls.attr("_value2member_map_").attr("get")(value);
  return member.is_none() ? py::int_(value) : member;
}

py::object VariantToPython(const Variant& value) {
  switch (value.Type()) {
    case vbEmpty:
      return py::none();
    case vbNull:
      return NullObject();
    case vbInteger:
    case vbLong:
      return py::int_(value.ToLong());
    case vbSingle:
      return py::float_(value.ToSingle());
    case vbDouble:
      return py::float_(value.ToDouble());
    case vbDate:
      return DateToPython(value.ToDate());
    case vbString:
      return py::str(value.ToString());
    case vbBoolean:
      return py::bool_(value.ToBoolean());
    case vbObject:
      return ObjectToPython(value.ToObject());
    default:
      break;
  }
  if (value.IsArray()) {
    const VariantArray& array = value.Array();
    py::list rows;
    if (array.Dimensions() == 1) {
      for (int32_t i = array.LBound(1); i <= array.UBound(1); ++i)
        rows.append(VariantToPython(array(i)));
    } else {
      for (int32_t i = array.LBound(1); i <= array.UBound(1); ++i) {
        py::list row;
        for (int32_t j = array.LBound(2); j <= array.UBound(2); ++j)
          row.append(VariantToPython(array(i, j)));
        rows.append(row);
      }
    }
    return rows;
  }
  throw py::type_error("a variant of type " + std::to_string(value.Type()) + " has no Python form");
}

Variant VariantFromPython(py::handle value) {
  PyObject* p = value.ptr();
  if (value.is_none()) return Variant();
  if (value.is(*g_null)) return Variant(Null);
  if (PyBool_Check(p)) return Variant(p == Py_True);
  if (PyLong_Check(p)) {
    const double d = PyLong_AsDouble(p);
    if (d == -1.0 && PyErr_Occurred()) throw py::error_already_set();
    if (d >= INT32_MIN && d <= INT32_MAX) return Variant(static_cast<int32_t>(d));
    return Variant(d);
  }
  if (PyFloat_Check(p)) return Variant(PyFloat_AsDouble(p));
  if (PyUnicode_Check(p)) return Variant(py::cast<std::string>(value));
  if (PyDateTime_Check(p) || PyDate_Check(p)) {
    Date date;
    DateFromPython(value, date);
    return Variant(date);
  }
  if (std::shared_ptr<Object> object = ObjectFromPython(value)) return Variant(object);
  if (py::hasattr(value, "dtype") && py::hasattr(value, "item") &&
      py::len(value.attr("shape")) == 0) {
    const std::string kind = py::cast<std::string>(value.attr("dtype").attr("kind"));
    if (kind == "f" && py::cast<int>(value.attr("dtype").attr("itemsize")) == 4)
      return Variant(py::cast<float>(value.attr("item")()));
    if (kind == "M") {
      Date date;
      if (DateFromPython(value, date)) return Variant(date);
    }
    return VariantFromPython(value.attr("item")());
  }
  if (PyList_Check(p) || PyTuple_Check(p)) {
    py::sequence items = py::reinterpret_borrow<py::sequence>(value);
    const auto n = static_cast<int32_t>(items.size());
    VariantArray array(0, n - 1);
    for (int32_t i = 0; i < n; ++i)
      array(i) = VariantFromPython(items[static_cast<size_t>(i)]);
    return Variant(std::move(array));
  }
  throw py::type_error(std::string("cannot pass a value of type ") + Py_TYPE(p)->tp_name +
                       " as an automation variant");
}

void InitErrorsAndValues(py::module_& m) {
  PyDateTime_IMPORT;
  if (PyDateTimeAPI == nullptr) throw py::error_already_set();
  py::dict scope;
  scope["__builtins__"] = py::module_::import("builtins");
  scope["__name__"] = m.attr("__name__");
  py::exec(kPythonDefinitions, scope);
  for (const char* name : {"AutomationError", "NullType", "Null"})
    m.attr(name) = scope[name];
  m.attr("AutomationError").attr("__module__") = "varnock";
  m.attr("NullType").attr("__module__") = "varnock";
  g_null = new py::object(scope["Null"]);  // lives as long as the process
  g_error_class = new py::object(scope["AutomationError"]);

  py::register_exception_translator([](std::exception_ptr raised) {
    try {
      if (raised) std::rethrow_exception(raised);
    } catch (const AutomationError& error) {
      py::object instance = (*g_error_class)(error.Number(), error.Source(), error.Description(),
                                             error.HelpFile(), error.HelpContext());
      PyErr_SetObject(g_error_class->ptr(), instance.ptr());
    } catch (const std::bad_alloc&) {
      PyErr_SetString(PyExc_MemoryError, "out of memory");
    } catch (const std::length_error& error) {
      PyErr_SetString(PyExc_MemoryError, error.what());
    }
  });

  m.def(
      "CreateObject",
      [](const std::string& prog_id) {
        std::shared_ptr<Object> object = CreateObject(prog_id);
        if (std::dynamic_pointer_cast<DSSDatabase>(object)) object = NewDatabase();
        return ObjectToPython(object);
      },
      py::arg("ProgID"),
      "A new object of the class registered under ProgID (\"Varnock23.RegularTimeSeries\").");
  m.def("IntervalMinutes", &IntervalMinutes, py::arg("name"),
        "Minutes of an E part interval name of the vocabulary (0 when it names none).");
  m.def("IntervalName", &IntervalName, py::arg("minutes"),
        "The E part name of a minute count, or None when the vocabulary has none.");
  m.attr("kMissingValue") = kMissingValue;
  m.attr("kNotProducedValue") = kNotProducedValue;
  m.attr("kObjectErrorBase") = kObjectErrorBase;
  m.attr("kLibraryTitle") = kLibraryTitle;
  py::list intervals;
  for (const IntervalEntry& entry : kIntervals)
    intervals.append(py::make_tuple(entry.name, entry.minutes));
  m.attr("kIntervals") = intervals;
}

void InitEnums(py::module_& m) {
  struct Member {
    const char* name;
    int32_t value;
  };
  struct Enumeration {
    const char* name;
    std::vector<Member> members;
  };
  const Enumeration enumerations[] = {
      {"DSSErrors",
       {{"dssHeclibError", dssHeclibError},
        {"dssNotOpen", dssNotOpen},
        {"dssIsOpen", dssIsOpen},
        {"dssDateError", dssDateError},
        {"dssBadPathname", dssBadPathname},
        {"dssCatalogIssue", dssCatalogIssue}}},
      {"StepMethods",
       {{"intrpStepEnding", intrpStepEnding},
        {"intrpStepStart", intrpStepStart},
        {"intrpContinuous", intrpContinuous}}},
      {"DSSPlans",
       {{"plnAlwaysWrite", plnAlwaysWrite},
        {"plnDontReplaceExisting", plnDontReplaceExisting},
        {"plnWriteOnlyIfExisting", plnWriteOnlyIfExisting},
        {"plnReserved3", plnReserved3},
        {"plnPreserveMissing", plnPreserveMissing}}},
      {"AggregationTypes",
       {{"atUseHighest", atUseHighest}, {"atUseLast", atUseLast}, {"atUseAverage", atUseAverage}}},
      {"PadMethods",
       {{"intPadWatch", intPadWatch},
        {"intPadEDMSpolled", intPadEDMSpolled},
        {"intPadEDMSmixed", intPadEDMSmixed}}},
      {"MergeOptions", {{"moMergeData", moMergeData}, {"moReplaceData", moReplaceData}}},
      {"IrrAggregationTypes",
       {{"atUseHighest", atUseHighest}, {"atUseLast", atUseLast}, {"atUseAcum", atUseAcum}}},
      {"PDAxes",
       {{"axUndefined", axUndefined},
        {"axFirstAxis", axFirstAxis},
        {"axSecondAxis", axSecondAxis}}},
      {"DataTypeEnum",
       {{"adEmpty", adEmpty},
        {"adSmallInt", adSmallInt},
        {"adInteger", adInteger},
        {"adSingle", adSingle},
        {"adDouble", adDouble},
        {"adDate", adDate},
        {"adBoolean", adBoolean},
        {"adVariant", adVariant},
        {"adBigInt", adBigInt},
        {"adDBDate", adDBDate},
        {"adDBTimeStamp", adDBTimeStamp},
        {"adVarChar", adVarChar},
        {"adLongVarChar", adLongVarChar},
        {"adVarWChar", adVarWChar}}},
      {"CursorTypeEnum",
       {{"adOpenForwardOnly", adOpenForwardOnly}, {"adOpenStatic", adOpenStatic}}},
      {"LockTypeEnum",
       {{"adLockReadOnly", adLockReadOnly}, {"adLockOptimistic", adLockOptimistic}}},
      {"VariantType",
       {{"vbEmpty", vbEmpty},
        {"vbNull", vbNull},
        {"vbInteger", vbInteger},
        {"vbLong", vbLong},
        {"vbSingle", vbSingle},
        {"vbDouble", vbDouble},
        {"vbDate", vbDate},
        {"vbString", vbString},
        {"vbObject", vbObject},
        {"vbBoolean", vbBoolean},
        {"vbVariant", vbVariant},
        {"vbArray", vbArray}}},
  };
  py::object int_enum = py::module_::import("enum").attr("IntEnum");
  py::dict classes;
  py::list member_names;
  for (const Enumeration& enumeration : enumerations) {
    py::list pairs;
    for (const Member& member : enumeration.members)
      pairs.append(py::make_tuple(member.name, member.value));
    py::object cls = int_enum(enumeration.name, pairs, py::arg("module") = "varnock");
    m.attr(enumeration.name) = cls;
    classes[enumeration.name] = cls;
    for (const Member& member : enumeration.members) {
      if (py::hasattr(m, member.name)) continue;  // atUseHighest, atUseLast: AggregationTypes'
      m.attr(member.name) = cls.attr(member.name);
      member_names.append(member.name);
    }
  }
  m.attr("_enum_member_names") = member_names;
  g_enums = new py::object(classes);
}

}  // namespace varnock::python

PYBIND11_MODULE(_varnock, m) {
  using namespace varnock::python;
  m.doc() =
      "Varnock: an object model for hydrologic data kept in HEC-DSS files (the automation "
      "classes, interfaces and enumerations).";
  InitErrorsAndValues(m);
  InitEnums(m);
  InitAutomation(m);
  InitPathname(m);
  InitInterfaces(m);
  InitDatabase(m);
  InitRegular(m);
  InitIrregular(m);
  InitPaired(m);
  InitEngine(m);
}
