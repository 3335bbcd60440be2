// layer: core
#include "audio/error_report.h"

#include <map>

#include <gtest/gtest.h>

#include "fakes/fake_message_boxes.h"

namespace vexolo {
namespace {

const std::map<int, std::string>& KnownNames() {
  static const std::map<int, std::string> names = {
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
  };
  return names;
}

TEST(AudioErrorName, EveryNumberHasItsNameOrSaysItsNumber) {
  for (int code = -3; code <= 60; ++code) {
    const auto known = KnownNames().find(code);
    const std::string expected =
        known != KnownNames().end() ? known->second : "Erreur " + std::to_string(code) + " ?";
    EXPECT_EQ(AudioErrorName(code), expected);
  }
}

TEST(AudioErrorName, TenHasNoName) { EXPECT_EQ(AudioErrorName(10), "Erreur 10 ?"); }

TEST(ReportAudioError, ShowsTextNumberAndNameOfEveryCode) {
  static int told;
  bass::Api api{};
  api.BASS_ErrorGetCode = [] { return told; };
  for (told = -1; told <= 46; ++told) {
    FakeMessageBoxes boxes;
    ReportAudioError(api, boxes, "Erreur d'initialisation BASS");
    const std::vector<FakeMessageBoxes::Box> expected = {
        {"Erreur d'initialisation BASS\n\nBASS error code: " + std::to_string(told) + "\n" +
             AudioErrorName(told),
         "Error", BoxIcon::kExclamation}};
    EXPECT_EQ(boxes.shown, expected);
  }
}

}  // namespace
}  // namespace vexolo
