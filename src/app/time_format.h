/// Times as the program shows and reads them: minutes, colon, seconds and milliseconds. Pure
/// functions; any thread.
#pragma once

#include <string>
#include <string_view>

namespace vexolo {

/// 75.5 seconds give "1:15,500" with the separator ",". Zero, a negative value and what is no
/// number give "0:00,000". Milliseconds are rounded; minutes are counted before that, from the
/// whole seconds, so 59.9996 reads "0:60,000".
std::string FormatTime(double seconds, char separator);

/// The reverse; "," and "." both separate, and minutes may be missing ("75,5"). What is no number
/// counts as 0.
double ParseTime(std::string_view text);

}  // namespace vexolo
