#include <windows.h>

#include <cstdlib>

#include "command/terminal_colours.h"

namespace command {

namespace {

/// The standard output as a console; false if it is something else.
bool console_of(CONSOLE_SCREEN_BUFFER_INFO& console) {
  return GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &console) != 0;
}

}  // namespace

/// Consoles before Windows 10 have no colours that a program could write.
bool terminal_colours() {
  const char* refused = std::getenv("NO_COLOR");
  if (refused != nullptr && *refused != '\0') return false;
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != 0 &&
         (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

std::size_t terminal_columns() {
  CONSOLE_SCREEN_BUFFER_INFO console{};
  if (!console_of(console)) return 0;
  return static_cast<std::size_t>(console.srWindow.Right - console.srWindow.Left + 1);
}

}  // namespace command
