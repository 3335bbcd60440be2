/// The user's temporary folder is another one while this lives.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace vexolo {

class OtherTempFolder {
 public:
  explicit OtherTempFolder(const std::string& folder) {
    if (const char* old = std::getenv("TMPDIR")) old_ = old;
    setenv("TMPDIR", folder.c_str(), 1);
  }
  ~OtherTempFolder() { old_ ? setenv("TMPDIR", old_->c_str(), 1) : unsetenv("TMPDIR"); }
  OtherTempFolder(const OtherTempFolder&) = delete;
  OtherTempFolder& operator=(const OtherTempFolder&) = delete;

 private:
  std::optional<std::string> old_;
};

}  // namespace vexolo
