// layer: core
// Settings, song and language files: any bytes come back unchanged, and what is set can be read.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "settings/ini_document.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using vexolo::IniDocument;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  IniDocument document = IniDocument::Parse(bytes);
  if (document.Serialize() != bytes) std::abort();

  // The input once more, as section, key and value.
  const std::size_t third = size / 3;
  const std::string_view section = bytes.substr(0, third);
  const std::string_view key = bytes.substr(third, third);
  const std::string_view value = bytes.substr(2 * third);
  if (!document.Set(section, key, value)) return 0;
  const auto kept = document.Get(section, key);
  if (!kept) std::abort();
  if (document.Set(section, key, value)) std::abort();
  if (IniDocument::Parse(document.Serialize()).Get(section, key) != kept) std::abort();
  return 0;
}
