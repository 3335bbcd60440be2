#include "platform/registry.h"

#ifdef _WIN32

#include <string_view>
#include <vector>

#include <windows.h>

namespace vexolo {
namespace {

std::wstring Wide(std::string_view text) {
  const int length = static_cast<int>(text.size());
  std::wstring wide(
      static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0)),
      L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), static_cast<int>(wide.size()));
  return wide;
}

std::string Narrow(std::wstring_view wide) {
  const int length = static_cast<int>(wide.size());
  std::string text(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, wide.data(), length,
                                                                nullptr, 0, nullptr, nullptr)),
                   '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, text.data(), static_cast<int>(text.size()),
                      nullptr, nullptr);
  return text;
}

/// An open key.
class Key {
 public:
  Key(HKEY root, const std::string& path) {
    if (RegOpenKeyExW(root, Wide(path).c_str(), 0, KEY_READ, &key_) != ERROR_SUCCESS) {
      key_ = nullptr;
    }
  }
  ~Key() {
    if (key_ != nullptr) RegCloseKey(key_);
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;

  std::optional<std::wstring> Text(const std::wstring& name) const {
    DWORD type = 0;
    DWORD bytes = 0;
    if (key_ == nullptr ||
        RegQueryValueExW(key_, name.c_str(), nullptr, &type, nullptr, &bytes) != ERROR_SUCCESS ||
        (type != REG_SZ && type != REG_EXPAND_SZ)) {
      return std::nullopt;
    }
    std::vector<wchar_t> text(bytes / sizeof(wchar_t) + 1, L'\0');
    if (RegQueryValueExW(key_, name.c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(text.data()),
                         &bytes) != ERROR_SUCCESS) {
      return std::nullopt;
    }
    // Nothing promises that the stored text ends with a zero; the room behind it does.
    return type == REG_EXPAND_SZ ? Expand(text.data()) : std::wstring(text.data());
  }

 private:
  static std::wstring Expand(const wchar_t* text) {
    std::vector<wchar_t> expanded(ExpandEnvironmentStringsW(text, nullptr, 0) + 1, L'\0');
    ExpandEnvironmentStringsW(text, expanded.data(), static_cast<DWORD>(expanded.size()));
    return expanded.data();
  }

  HKEY key_ = nullptr;
};

class WindowsRegistry final : public Registry {
 public:
  std::optional<std::string> Read(RegistryRoot root, const std::string& key,
                                  const std::string& value) override {
    const HKEY start = root == RegistryRoot::kLocalMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
    const std::optional<std::wstring> text = Key(start, key).Text(Wide(value));
    if (!text) return std::nullopt;
    return Narrow(*text);
  }
};

}  // namespace

std::unique_ptr<Registry> SystemRegistry() { return std::make_unique<WindowsRegistry>(); }

}  // namespace vexolo

#else

namespace vexolo {

std::unique_ptr<Registry> SystemRegistry() { return nullptr; }

}  // namespace vexolo

#endif
