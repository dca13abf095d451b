// The keywords HECLIB takes in ZSET and ZINQIR, each with a description for user interfaces.
// Keys keep their blanks exactly ("MAP ", "TAG ", "TOL") and descriptions their leading blanks.
#include "varnock/heclib.h"

namespace varnock {

const std::array<KeywordDescription, 41>& SettingKeywords() {
  static constexpr std::array<KeywordDescription, 41> kKeywords = {{
      {"PRGN", "Set Program Name"},
      {"PROG", "Set Program Name"},
      {"MLEV", "Set trace level (10 and above is an internal trace)"},
      {"MLVL", "Set trace level (10 and above is an internal trace)"},
      {"MUNI", "Set the message unit"},
      {"MLFN", "Set the message unit"},
      {"PREC", "Set the data's precision"},
      {"TOL", "Set a tolerance for replacing data"},
      {"UNIT", "Set the unit number to use for the next file to open"},
      {"FILN", "Set the unit number to use for the next file to open"},
      {"MAP ", " Turn the catalog map option on"},
      {"CCDA", "Should we exclude missing periods from the condensed catalog"},
      {"MAPU", "Set the unit number to write the catalog map to"},
      {"TYPE", "Set the data type"},
      {"80CO", "Set the output line length to 80 columns"},
      {"EXCL", "Set this file in an exclusive assign mode (Harris only)"},
      {"MULT", "Force this file to a multi-user mode (do not go into an advisory mode!)"},
      {"WLOC", "Set this file in an (exclusive) write lock mode"},
      {"FDAT", "Set the file creation date (for squeeze only)"},
      {"SIZE",
       "Set the estimated size of the file (e.g... LARGE or 4000) to use for next call to ZOPEN"},
      {"HSIZ", "Set the hash table size code if squeezing the file"},
      {"TABL", "Set the file to use a Dynamic or Stable Hash table"},
      {"TAG ", "Set the tag for the next record to be written"},
      {"RVER", "Set the version number for the next record to be written"},
      {"RDAT", "Set the date for the next record to be written"},
      {"RTIM", "Set the time for the next record to be written"},
      {"ZONE",
       "Set the time zone offset and name for the next record to be written (The time zone "
       "identifier can contain up to 12 characters. Example Examples include 'PST' and "
       "'GMT+0800')"},
      {"QUAL", "Is the quality flag set on?"},
      {"FLAG", "Is the quality flag set on?"},
      {"TWCA", "Set the time window flag for the catalog on or off"},
      {"PROT", "Set the Protect mode on (don't write over existing records)"},
      {"READ", "Set the Read Access Only mode on"},
      {"COMP", "Compress time-series data when copying records or squeezing the file"},
      {"CAST", "Should status be shown when squeezing the file?"},
      {"SQST", "Should status be shown when squeezing the file?"},
      {"DCDB", "Should data compression debug be set on?"},
      {"ABOR",
       "Should we abort on a fatal error? (Better know what we are doing - can ruin a recoverable "
       "file!)"},
      {"LONG",
       "Allow the writing of Long Pathnames Max 392 characters and 64 character per part (default "
       "of 80 char pathnames and 32 char parts)6 x 64 + 7 slashes = 391 + 1 for 'c' null string "
       "ender = 392"},
      {"UPRT",
       "Should the record time be updated at write time instead of the time that the file was "
       "opened (only for programs that run a very long time -- eg...days"},
      {"QPRO", "Should we observe the Quality Protect bit in flags when storing time series data"},
      {"HAND", "Should we show the handle instead of the unit number"},
  }};
  return kKeywords;
}

const std::array<KeywordDescription, 35>& InquiryKeywords() {
  static constexpr std::array<KeywordDescription, 35> kKeywords = {{
      {"UNIT", "UNIT NUMBER OF DSS FILE"},
      {"MLEV", "MESSAGE Level"},
      {"MLVL", "MESSAGE Level"},
      {"PREC", " Data precision of last record read"},
      {"MUNI", "MESSAGE UNIT"},
      {"MLFN", "MESSAGE UNIT"},
      {"NAME", "NAME OF DSS FILE"},
      {"RDAT", "RECORD Date"},
      {"RTIM", "RECORD Time"},
      {"PROG", "PROGRAM"},
      {"RVER", "RECORD VERSION"},
      {"ZONE", "Get the time zone offset for the last record read"},
      {"FLAG", "RECORD DATA FLAGS STORED"},
      {"QUAL", "RECORD DATA FLAGS STORED"},
      {"FDAT", "FILE DATE (CREATION DATE)"},
      {"FVER", "file VERSION"},
      {"TABL", "Dynamic or Stable Hash Table"},
      {"HSIZ", "HSIZ"},
      {"NREC", "NUMBER OF RECORDS"},
      {"SIZE", "FILE SIZE (IN KBYTES)"},
      {"DEAD", "PRECENTAGE DEAD SPACE"},
      {"VERS", "DSS SOFTWARE VERSION"},
      {"TYPE", "DATA TYPE (E.G. PARIED DATA)"},
      {"80CO", "80 COLUMN OUTPUT ON OR OFF (VS. 132 COL)"},
      {"TAG", "TAG OF LAST RECORD ACCESSED"},
      {"READ", "Read Only Access"},
      {"ABOR", "Abort on fatal error (should be yes!)"},
      {"MULT", "Multi user state"},
      {"STAT", "Status of operation"},
      {"CLEA", "Clear error / status flags"},
      {"ERRO",
       "If a system error occurred the system error message and number associated with that error"},
      {"KSTA", "System error index location in IFLTAB"},
      {"QPRO", "Should we observe the Quality Protect bit in flags when storing time series data"},
      {"REMO", "Remote file"},
      {"DELE", "Number of deleted records in file"},
  }};
  return kKeywords;
}

}  // namespace varnock
