// Opens any supported record file and chooses its reader by name and content.
#pragma once

#include <string>

#include "readers/open_options.h"
#include "readers/record.h"

namespace readers {

/// Reads a COMTRADE record, a PQDIF file or a CSV file. For COMTRADE, `path` is the .cfg or the .dat file (the other
/// one is found in the same folder, in any letter case) or the .cff file. "-" reads a .cff file, PQDIF or CSV from
/// standard input. Each of these may be in a zip file, whose only record is read unless one is named as in
/// "archive.zip:folder/record.cfg", or in a gzip file. Throws ReadError.
Record open_record(const std::string& path, const OpenOptions& options = {});

/// The bytes of a record's file, or of the .cfg and the .dat file of a pair, and their names for messages.
struct RecordContents {
  std::string name;       ///< of the file, or of the .cfg file of a pair
  std::string bytes;      ///< what that file holds
  std::string data_name;  ///< empty unless it is a pair
  std::string data;       ///< what the .dat file of a pair holds
};

/// Reads a record from bytes that have been read already, so that a program can hash exactly what is analysed. Zip and
/// gzip files are read as by open_record. Throws ReadError.
Record open_contents(RecordContents contents, const OpenOptions& options = {});

}  // namespace readers
