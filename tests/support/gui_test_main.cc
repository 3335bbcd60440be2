/// Tests of windows: one application for all of them.
#include <QApplication>

#include <gmock/gmock.h>

#include "widgets/palette.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleMock(&argc, argv);
  if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
  QApplication application(argc, argv);
  application.setQuitOnLastWindowClosed(false);
  vexolo::UseDarkPalette(application);
  return RUN_ALL_TESTS();
}
