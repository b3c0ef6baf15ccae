// What the descriptors of open files are, and copies of them.
//
// What is portable: dup2, write and close, which Windows has under the same names. What is not: that a copy is kept
// from programs that are started, what is a terminal, and the name of the device that takes everything and gives
// nothing. On Windows isatty counts this device as a terminal.
#pragma once

namespace platform {

/// Returns a copy of a descriptor that is not one of the standard streams and that programs started later do not get;
/// negative, with errno, if there is none.
int kept_copy(int descriptor);

/// Opens the device that takes everything, as kept_copy does.
int open_nowhere();

bool is_terminal(int descriptor);
bool is_pipe(int descriptor);

/// Returns whether a descriptor is that of a device that is not a terminal.
bool is_device(int descriptor);

}  // namespace platform
