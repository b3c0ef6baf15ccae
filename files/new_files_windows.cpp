#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "files/new_files.h"
#include "files/random_letters.h"

namespace files {

namespace {

/// Sets errno to what the last call of the system complained of.
void set_errno() {
  const std::error_code error(static_cast<int>(GetLastError()), std::system_category());
  const std::error_condition meaning = error.default_error_condition();
  errno = meaning.category() == std::generic_category() ? meaning.value() : EIO;
}

}  // namespace

int new_file(std::filesystem::path& name) {
  const std::filesystem::path beginning = name;
  for (int i = 0; i < name_attempts; i++) {
    name = beginning;
    name += "." + random_letters();
    const HANDLE handle = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, CREATE_NEW,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle != INVALID_HANDLE_VALUE) {
      return _open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_WRONLY | _O_BINARY | _O_NOINHERIT);
    }
    if (GetLastError() != ERROR_FILE_EXISTS) break;
  }
  set_errno();
  return -1;
}

/// New files inherit their permissions from the folder.
bool finish(int descriptor) {
  return _commit(descriptor) == 0;
}

bool rename_file(const std::filesystem::path& name, const std::filesystem::path& target, Existing existing) {
  const DWORD replaces = existing == Existing::replaced ? MOVEFILE_REPLACE_EXISTING : 0;
  if (MoveFileExW(name.c_str(), target.c_str(), replaces | MOVEFILE_WRITE_THROUGH) != 0) return true;
  set_errno();
  return false;
}

/// Names such as NUL and CON are devices in every folder.
bool is_written_in_place(const std::filesystem::path& file) {
  const HANDLE handle = CreateFileW(file.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return false;
  const bool disk = GetFileType(handle) == FILE_TYPE_DISK;
  CloseHandle(handle);
  return !disk;
}

}  // namespace files
