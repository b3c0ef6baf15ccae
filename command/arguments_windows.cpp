#include <windows.h>
// This header needs the types of the first one.
#include <shellapi.h>

#include <memory>
#include <new>

#include "command/arguments.h"

namespace command {

namespace {

std::string utf8(const wchar_t* text) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 0) return {};
  std::string bytes(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, bytes.data(), size, nullptr, nullptr);
  bytes.pop_back();  // the zero at the end
  return bytes;
}

}  // namespace

std::vector<std::string> utf8_arguments(int /*argc*/, char** /*argv*/) {
  int count = 0;
  const std::unique_ptr<wchar_t*, HLOCAL (*)(HLOCAL)> list(CommandLineToArgvW(GetCommandLineW(), &count), LocalFree);
  if (!list) throw std::bad_alloc();
  std::vector<std::string> arguments;
  for (int i = 0; i < count; i++) arguments.push_back(utf8(list.get()[i]));
  return arguments;
}

}  // namespace command
