// Loading the engine library: dlopen on Linux, LoadLibrary on Windows.
#include "library.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#endif

#include <cstdio>

VarnExports Varn;

namespace {

#ifdef _WIN32
using ModuleHandle = HMODULE;
constexpr const char *LibraryFile = "Varn504.dll";

// Directory of the running executable, with a trailing separator, or "".
std::string ExecutableDirectory() {
  char path[MAX_PATH];
  DWORD length = GetModuleFileNameA(nullptr, path, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return "";
  std::string text(path, length);
  size_t slash = text.find_last_of("\\/");
  return slash == std::string::npos ? "" : text.substr(0, slash + 1);
}

ModuleHandle OpenLibrary(const std::string &path) { return LoadLibraryA(path.c_str()); }

// Address of an export as a generic function pointer, or null.
void (*FindSymbol(ModuleHandle module, const char *name))(void) {
  return reinterpret_cast<void (*)(void)>(GetProcAddress(module, name));
}

std::string LastLoaderError() { return "error " + std::to_string(GetLastError()); }
#else
using ModuleHandle = void *;
constexpr const char *LibraryFile = "libVarn504.so";

// Directory of the running executable, with a trailing separator, or "".
std::string ExecutableDirectory() {
  char path[PATH_MAX];
  ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
  if (length <= 0) return "";
  std::string text(path, size_t(length));
  size_t slash = text.find_last_of('/');
  return slash == std::string::npos ? "" : text.substr(0, slash + 1);
}

ModuleHandle OpenLibrary(const std::string &path) { return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL); }

// Address of an export as a generic function pointer, or null.
void (*FindSymbol(ModuleHandle module, const char *name))(void) {
  return reinterpret_cast<void (*)(void)>(dlsym(module, name));
}

std::string LastLoaderError() {
  const char *text = dlerror();
  return text ? text : "unknown error";
}
#endif

// Looks one export up and stores it in the typed slot; false when missing.
template <typename Fn>
bool Bind(ModuleHandle module, const char *name, Fn &slot, std::string &error) {
  slot = reinterpret_cast<Fn>(FindSymbol(module, name));
  if (!slot) error = std::string("export ") + name + " not found in " + LibraryFile;
  return slot != nullptr;
}

}  // namespace

bool LoadVarnLibrary(std::string &error, const char *path) {
  ModuleHandle module = nullptr;
  if (path) {
    module = OpenLibrary(path);
  } else {
    module = OpenLibrary(ExecutableDirectory() + LibraryFile);
#ifdef VARN_LIBRARY_SONAME
    // Installed: the library directory relative to the executable's, then the
    // loader's search path, both by the library's SONAME.
    if (!module) module = OpenLibrary(ExecutableDirectory() + VARN_LIBRARY_FROM_BINDIR VARN_LIBRARY_SONAME);
    if (!module) module = OpenLibrary(VARN_LIBRARY_SONAME);
#endif
    if (!module) module = OpenLibrary(LibraryFile);
  }
  if (!module) {
    error = std::string("cannot load ") + (path ? path : LibraryFile) + ": " + LastLoaderError();
    return false;
  }
  // Every export, in the header's order; the first one missing stops the load.
#define VARN_BIND(name, result, parameters) &&Bind(module, "Varn" #name, Varn.name, error)
  return true VARN_EXPORTS(VARN_BIND);
#undef VARN_BIND
}

void PrepareConsole() {
  // Lines must reach the GUI at once, whatever kind of pipe stdout is.
  std::setvbuf(stdout, nullptr, _IONBF, 0);
#ifndef _WIN32
  // A GUI that closes its end first must not kill the host mid-search.
  std::signal(SIGPIPE, SIG_IGN);
#endif
}
