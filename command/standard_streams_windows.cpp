#include <fcntl.h>
#include <io.h>
#include <unistd.h>
#include <windows.h>

#include <cstdlib>
#include <initializer_list>

#include "command/standard_streams.h"

namespace command {

namespace {

UINT code_page_before = 0;

void restore_code_page() {
  SetConsoleOutputCP(code_page_before);
}

/// Lets a console show UTF-8, colours and lines that are drawn again. The console outlives the program, and gets its
/// own code page back.
void prepare_console(DWORD stream) {
  const HANDLE console = GetStdHandle(stream);
  DWORD mode = 0;
  if (GetConsoleMode(console, &mode) == 0) return;
  SetConsoleMode(console, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  if (code_page_before != 0) return;
  code_page_before = GetConsoleOutputCP();
  SetConsoleOutputCP(CP_UTF8);
  std::atexit(restore_code_page);
}

}  // namespace

void prepare_standard_streams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (_get_osfhandle(stream) < 0) {
      // The lowest free descriptor is opened, which is this one because those before it are open.
      if (_open("NUL", stream == STDIN_FILENO ? _O_RDONLY : _O_WRONLY) != stream) std::abort();
    }
    // Bytes are read and written as they are, so that outputs are the same on all systems.
    _setmode(stream, _O_BINARY);
  }
  for (const DWORD stream : {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) prepare_console(stream);
}

}  // namespace command
