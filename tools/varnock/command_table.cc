// The tool's commands with their one-line summaries and help texts.
#include "cli.h"

namespace varnock::cli {

namespace {

#define VARNOCK_PATTERN_HELP                                                          \
  "PATTERN is a pathname with * and ? in any part (/A/*/FLOW/*/1HOUR/*/); an empty\n" \
  "D part matches every block (/A/*/FLOW//1HOUR/*/), other empty parts match empty\n" \
  "parts. A pattern that does not start with '/' is a glob over the whole pathname\n" \
  "(*FLOW*). Case is ignored.\n"

}  // namespace

const std::vector<Command>& Commands() {
  static const std::vector<Command> kCommands = {
      {"dump", "the canonical text dump of a file",
       "usage: varnock dump FILE [PATTERN...]\n\n"
       "Prints every record in the canonical DSSDUMP 1 form: time series blocks with\n"
       "their times and values, paired data with its curves, text records; other\n"
       "record types print 'unsupported'. With patterns only matching records print,\n"
       "and record_count counts them; nothing matched exits 4.\n\n" VARNOCK_PATTERN_HELP,
       RunDump},
      {"export", "write time series or paired data as CSV",
       "usage: varnock export FILE PATTERN... [--start T] [--end T] --csv [--output F]\n\n"
       "One matching series (its D part is ignored: every block is read) is written as\n"
       "comment lines with pathname, units, type and precision, then time,value (and\n"
       "quality where stored): the form 'varnock import' reads. Several series make one\n"
       "wide table: time, then a column per series named by its pathname, a cell left\n"
       "empty where a series has no value. A paired-data record is written as its\n"
       "ordinates and one column per curve. Times are YYYY-MM-DDTHH:MM:SS; --start and\n"
       "--end (that form or HEC's 01Jan2021 2400) keep the values between them, both\n"
       "ends included. Slots never written are left out.\n\n" VARNOCK_PATTERN_HELP,
       RunExport},
      {"import", "store one time series from CSV",
       "usage: varnock import FILE CSV [--path PATHNAME] [--units U] [--type T] [--doubles]\n"
       "                      [--aggregate RULE] [--new-version 6|7]\n\n"
       "Stores the rows of a CSV file as written by 'varnock export' (or any file of\n"
       "time,value[,quality] rows, with or without a header line, RFC 4180 quoting)\n"
       "into FILE of either DSS version, created when missing (version 7, or\n"
       "--new-version). The series is regular or irregular by its E\n"
       "part; options override the CSV's comment lines. Times are YYYY-MM-DDTHH:MM:SS\n"
       "or HEC's 01Jan2021 2400; values are finite decimal numbers (within float range\n"
       "unless --doubles); quality is a 32-bit flag word in decimal.\n"
       "A regular series takes one value per interval: the first row's time sets the\n"
       "offset within the interval and a row off that grid is refused, unless\n"
       "--aggregate combines the readings of each interval (a reading belongs to the\n"
       "interval it ends in): RULE is highest, last or average for an INST-VAL series\n"
       "and sum for a PER-CUM series.\n",
       RunImport},
      {"info", "version, record count, size, dead space, creation and last-write times",
       "usage: varnock info FILE\n\nPrints the file's DSS version, its record count, size, dead "
       "space and\ncreation and last-write times.\n",
       RunInfo},
      {"catalog", "list pathnames with record types",
       "usage: varnock catalog FILE [PATTERN...] [--unsorted] [--condensed]\n\n"
       "Lists the live records with their type codes (RTS, ITS, PD, TXT, ...), those\n"
       "matching any PATTERN when patterns are given.\n" VARNOCK_PATTERN_HELP
       "  --unsorted   file order instead of HEC's sorted order\n"
       "  --condensed  one line per series, its blocks folded into a date range, in the\n"
       "               place of its first block\n",
       RunCatalog},
      {"copy", "copy records between files or within one",
       "usage: varnock copy SOURCE DEST [PATTERN] [--to PATHNAME] [--new-version 6|7]\n\n"
       "Copies every record of SOURCE that matches PATTERN (all when omitted) into\n"
       "DEST, which is created when missing (DSS version 7, or --new-version). Between\n"
       "files of one version records travel whole, so every record type copies;\n"
       "between versions each record is converted (DSS-6 upper-cases its D and E\n"
       "parts, and each version keeps its own missing marker). --to gives the copy a\n"
       "new pathname (one record only); copying within one file needs it. A\n"
       "time-series record keeps its D and E parts: a new name that changes them is\n"
       "refused, and nothing is created.\n",
       RunCopy},
      {"rename", "rename a record",
       "usage: varnock rename FILE PATHNAME NEW-PATHNAME\n\nGives a record a new pathname; a "
       "record already under the new name is replaced.\nA time-series record keeps its D and E "
       "parts: a new name that changes them\nis refused.\n",
       RunRename},
      {"delete", "delete records",
       "usage: varnock delete FILE PATTERN...\n\nMarks every matching record deleted; 'varnock "
       "undelete' restores them.\n\n" VARNOCK_PATTERN_HELP,
       RunDelete},
      {"undelete", "restore deleted records",
       "usage: varnock undelete FILE PATTERN...\n\nRestores deleted records that match; a name a "
       "live record has taken since stays deleted.\n",
       RunUndelete},
      {"plot", "draw time series or paired data into an image (needs Python, matplotlib)",
       "usage: varnock plot FILE PATHNAME... --output IMAGE [--start T] [--end T]\n\n"
       "Draws the series PATHNAME names (several share one figure; * and ? select many)\n"
       "or paired data (curves against the first axis) into IMAGE (PNG, SVG or PDF),\n"
       "labelled with pathname parts, units and curve labels. --start and --end limit\n"
       "time series to a window. Runs '/usr/bin/python3 -m varnock plot' (another\n"
       "interpreter through VARNOCK_PYTHON), which needs the varnock module and\n"
       "matplotlib (apt install python3-matplotlib).\n",
       RunPlot},
      {"convert", "copy every record into a new file of the other DSS version",
       "usage: varnock convert SOURCE DEST --to 6|7\n\n"
       "Writes every record of SOURCE (DSS version 6 or 7) into DEST, a new file of\n"
       "version 6 or 7. Time series keep their times and values (slots never written\n"
       "take the target's marker), paired data and text their contents; a DSS-6 file\n"
       "stores pathnames in upper case. Records that cannot be converted (kinds the\n"
       "target has no form for, unreadable records) are listed with the reason, and\n"
       "the command then exits 1.\n",
       RunConvert},
      {"squeeze", "rewrite a file without its dead space",
       "usage: varnock squeeze FILE\n\n"
       "Copies every live record of FILE (version 6 or 7) into a fresh file beside it,\n"
       "which then replaces it: deleted records and space left by rewrites are gone.\n"
       "Refused while another program has the file open; on failure FILE stays as it\n"
       "was.\n",
       RunSqueeze},
      {"check", "check a file's internal structure",
       "usage: varnock check FILE\n\n"
       "Runs the integrity checks of the file's DSS version (bins, links, pathnames,\n"
       "and for version 7 the hash table) and lists what is damaged. Exits 0 only when\n"
       "the file is sound, 3 otherwise.\n",
       RunCheck},
  };
  return kCommands;
}

}  // namespace varnock::cli
