#include "app/action_guard.h"

#include <new>
#include <system_error>

#include "platform/file_io.h"

namespace vexolo {

void ActionGuard::Tell(const std::exception& reason) noexcept {
  try {
    std::string text = no_memory_;
    if (const auto* error = dynamic_cast<const std::system_error*>(&reason)) {
      text = FileErrorText(MakeFileError(error->code().value()));
    } else if (dynamic_cast<const std::bad_alloc*>(&reason) == nullptr) {
      text = reason.what();
    }
    boxes_.Show(text, "Error", BoxIcon::kExclamation);
  } catch (const std::exception&) {
    // Not even the message can be shown; what the action had changed is undone all the same.
  }
}

}  // namespace vexolo
