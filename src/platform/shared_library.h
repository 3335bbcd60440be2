/// Libraries that are loaded while the program runs. Any thread, but one at a time for one object.
#pragma once

#include <memory>
#include <string>

namespace vexolo {

/// A loaded library; unloaded with this object. Its symbols stay its own.
class SharedLibrary {
 public:
  /// Loads the library at a UTF-8 path, with all that it needs. A name without a folder is looked
  /// for where the system keeps its libraries. Null where it is missing, is no library, or misses
  /// something itself.
  static std::unique_ptr<SharedLibrary> Open(const std::string& path);

  ~SharedLibrary();
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;

  /// Address of a function or variable, valid as long as the library; null where there is none.
  void* Symbol(const char* name) const;

  /// The function of that name, null where there is none. `Function` is a pointer to a function.
  template <typename Function>
  Function Get(const char* name) const {
    return reinterpret_cast<Function>(Symbol(name));
  }

 private:
  explicit SharedLibrary(void* handle) : handle_(handle) {}
  void* handle_;
};

}  // namespace vexolo
