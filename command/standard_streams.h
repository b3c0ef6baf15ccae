// Makes sure that the standard streams are open.
#pragma once

namespace command {

/// Opens /dev/null in place of each standard stream that is closed, as schedulers and daemons may start a program. A
/// file that is opened later would otherwise become standard output and receive the messages. Must be called before
/// any file is opened.
void open_closed_streams();

}  // namespace command
