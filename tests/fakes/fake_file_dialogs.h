/// File dialogs with answers given beforehand.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "platform/file_dialogs.h"

namespace vexolo {

class FakeFileDialogs : public FileDialogs {
 public:
  std::vector<std::string> OpenFiles(const FileQuestion& question) override {
    return Answer(question);
  }
  std::string OpenFile(const FileQuestion& question) override { return First(Answer(question)); }
  std::string SaveFile(const FileQuestion& question) override { return First(Answer(question)); }
  std::string ChooseFolder(const std::string& title, const std::string& folder) override {
    return First(Answer({title, {}, folder, {}}));
  }

  std::vector<FileQuestion> asked;
  std::deque<std::vector<std::string>> answers;  ///< used up from the front; nothing chosen after

 private:
  std::vector<std::string> Answer(const FileQuestion& question) {
    asked.push_back(question);
    if (answers.empty()) return {};
    std::vector<std::string> answer = answers.front();
    answers.pop_front();
    return answer;
  }
  static std::string First(const std::vector<std::string>& files) {
    return files.empty() ? std::string() : files.front();
  }
};

}  // namespace vexolo
