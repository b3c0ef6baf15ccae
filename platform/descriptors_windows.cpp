#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include "platform/descriptors.h"

namespace platform {

namespace {

HANDLE handle_of(int descriptor) {
  return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
}

}  // namespace

int kept_copy(int descriptor) {
  const int copy = _dup(descriptor);
  if (copy >= 0) SetHandleInformation(handle_of(copy), HANDLE_FLAG_INHERIT, 0);
  return copy;
}

int open_nowhere() {
  return _open("NUL", _O_WRONLY | _O_BINARY | _O_NOINHERIT);
}

bool is_terminal(int descriptor) {
  DWORD mode = 0;
  return GetConsoleMode(handle_of(descriptor), &mode) != 0;
}

bool is_pipe(int descriptor) {
  return GetFileType(handle_of(descriptor)) == FILE_TYPE_PIPE;
}

bool is_device(int descriptor) {
  return GetFileType(handle_of(descriptor)) == FILE_TYPE_CHAR && !is_terminal(descriptor);
}

}  // namespace platform
