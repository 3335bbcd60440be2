#include "platform/shared_library.h"

#include <dlfcn.h>

namespace vexolo {

std::unique_ptr<SharedLibrary> SharedLibrary::Open(const std::string& path) {
  // An empty name would stand for the program itself.
  if (path.empty() || path.find('\0') != std::string::npos) return nullptr;
  void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) return nullptr;
  return std::unique_ptr<SharedLibrary>(new SharedLibrary(handle));
}

SharedLibrary::~SharedLibrary() { dlclose(handle_); }

void* SharedLibrary::Symbol(const char* name) const { return dlsym(handle_, name); }

}  // namespace vexolo
