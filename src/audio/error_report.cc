#include "audio/error_report.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace vexolo {
namespace {

struct ErrorName {
  int code;
  std::string_view name;
};

constexpr std::array<ErrorName, 36> kErrorNames = {{
    {0, "BASS_OK"},
    {1, "BASS_ERROR_MEM"},
    {2, "BASS_ERROR_FILEOPEN"},
    {3, "BASS_ERROR_DRIVER"},
    {4, "BASS_ERROR_BUFLOST"},
    {5, "BASS_ERROR_HANDLE"},
    {6, "BASS_ERROR_FORMAT"},
    {7, "BASS_ERROR_POSITION"},
    {8, "BASS_ERROR_INIT"},
    {9, "BASS_ERROR_START"},
    {14, "BASS_ERROR_ALREADY"},
    {16, "BASS_ERROR_NOPAUSE"},
    {18, "BASS_ERROR_NOCHAN"},
    {19, "BASS_ERROR_ILLTYPE"},
    {20, "BASS_ERROR_ILLPARAM"},
    {21, "BASS_ERROR_NO3D"},
    {22, "BASS_ERROR_NOEAX"},
    {23, "BASS_ERROR_DEVICE"},
    {24, "BASS_ERROR_NOPLAY"},
    {25, "BASS_ERROR_FREQ"},
    {27, "BASS_ERROR_NOTFILE"},
    {29, "BASS_ERROR_NOHW"},
    {31, "BASS_ERROR_EMPTY"},
    {32, "BASS_ERROR_NONET"},
    {33, "BASS_ERROR_CREATE"},
    {34, "BASS_ERROR_NOFX"},
    {35, "BASS_ERROR_PLAYING"},
    {37, "BASS_ERROR_NOTAVAIL"},
    {38, "BASS_ERROR_DECODE"},
    {39, "BASS_ERROR_DX"},
    {40, "BASS_ERROR_TIMEOUT"},
    {41, "BASS_ERROR_FILEFORM"},
    {42, "BASS_ERROR_SPEAKER"},
    {43, "BASS_ERROR_VERSION"},
    {44, "BASS_ERROR_CODEC"},
    {-1, "BASS_ERROR_UNKNOWN"},
}};

}  // namespace

std::string AudioErrorName(int code) {
  for (const ErrorName& entry : kErrorNames) {
    if (entry.code == code) return std::string(entry.name);
  }
  return "Erreur " + std::to_string(code) + " ?";
}

void ReportAudioError(const bass::Api& api, MessageBoxes& boxes, const std::string& text) {
  const int number = api.BASS_ErrorGetCode();
  const std::string name = AudioErrorName(api.BASS_ErrorGetCode());
  boxes.Show(text + "\n\nBASS error code: " + std::to_string(number) + "\n" + name, "Error",
             BoxIcon::kExclamation);
}

bool CheckAudioVersion(const bass::Api& api, MessageBoxes& boxes) {
  const bass::DWORD version = api.BASS_GetVersion();
  if (version >> 16 == bass::BASSVERSION) return true;
  std::array<char, 16> hexadecimal{};
  std::snprintf(hexadecimal.data(), hexadecimal.size(), "%X", version);
  boxes.Show(
      std::string("La DLL Bass est en ") + hexadecimal.data() + " alors que nous attendions la 204",
      "", BoxIcon::kCritical);
  return false;
}

}  // namespace vexolo
