/// How other threads reach the window thread.
#pragma once

#include <functional>

namespace vexolo {

/// Has a function called on the window thread soon. Callable from any thread.
using PostToWindow = std::function<void(std::function<void()>)>;

}  // namespace vexolo
