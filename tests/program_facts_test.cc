// layer: core
#include "app/program_facts.h"

#include <gtest/gtest.h>

#include "fakes/fake_bass.h"
#include "fakes/fake_file_dialogs.h"
#include "fakes/fake_library.h"
#include "fakes/fake_message_boxes.h"
#include "fakes/temporary_folder.h"

namespace vexolo {
namespace {

TEST(ProgramFacts, WhatTheProgramKnows) {
  const TemporaryFolder folder;
  const std::string encoder = folder.Write("oggenc", "#!/bin/sh\n");
  std::filesystem::permissions(encoder, std::filesystem::perms::owner_all);
  FakeBass bass;
  FakeMessageBoxes boxes;
  FakeFileDialogs files;
  FakeLibrary library(bass);
  library.is_silent = true;
  library.output_name = "a device";
  library.components = {"one", "two"};
  Program program({.library = library,
                   .boxes = boxes,
                   .files = files,
                   .program_folder = folder.path(),
                   .settings_file = folder / "Vexolo.ini",
                   .post = [](std::function<void()>) {}});
  program.state.audio.font_path = "/b/bank.sf2";
  const SystemInfo info = GatherFacts(program);
  EXPECT_FALSE(info.machine.system.empty());
  EXPECT_EQ(info.sound_device, "a device");
  EXPECT_TRUE(info.is_silent);
  EXPECT_EQ(info.library_version, bass.version);
  EXPECT_EQ(info.components, (std::vector<std::string>{"one", "two"}));
  EXPECT_EQ(info.bank, "/b/bank.sf2");
  EXPECT_EQ(info.ogg_enc, encoder);
  std::filesystem::remove(encoder);
  EXPECT_EQ(GatherFacts(program).ogg_enc, "") << "none is looked for elsewhere";
}

}  // namespace
}  // namespace vexolo
