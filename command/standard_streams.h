// Prepares the standard streams.
#pragma once

namespace command {

/// Opens the device that takes everything in place of each standard stream that is closed, as schedulers and daemons
/// may start a program. A file that is opened later would otherwise become standard output and receive the messages.
/// Must be called before any file is opened. Exceeding a limit on file size becomes an ordinary error of writing,
/// whatever is written. On Windows the streams also become those of bytes, and a console shows UTF-8.
void prepare_standard_streams();

}  // namespace command
