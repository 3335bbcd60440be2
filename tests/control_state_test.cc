// layer: engine
#include "engine/control_state.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace vexolo::engine {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// Writes down what comes of an event.
class Log final : public EventSink {
 public:
  std::vector<std::string> lines;

  void Note(int channel, int key, int velocity) override { Add("note", channel, key, velocity); }
  void KeyPressure(int channel, int key, int value) override { Add("key", channel, key, value); }
  void ChannelPressure(int channel, int value) override { Add("pressure", channel, value); }
  void Controller(int channel, int controller, int value) override {
    Add("controller", channel, controller, value);
  }
  void Mode(int channel, bass::DWORD event) override {
    Add("mode", channel, static_cast<int>(event));
  }
  void ValueChanged(int channel, ChannelValue which) override {
    const auto& info = kChannelValueTable[static_cast<std::size_t>(which)];
    Add("value", channel, static_cast<int>(info.event));
  }
  void EffectChanged(EffectParameter which) override { Add("effect", static_cast<int>(which)); }
  void TempoChanged(std::uint32_t tempo) override { Add("tempo", static_cast<int>(tempo)); }
  void SystemReset() override { lines.push_back("reset"); }

 private:
  template <typename... Numbers>
  void Add(const std::string& name, Numbers... numbers) {
    std::string line = name;
    ((line += ' ', line += std::to_string(numbers)), ...);
    lines.push_back(line);
  }
};

class ControlStateTest : public testing::Test {
 protected:
  std::vector<std::string> Short(int status, int data1, int data2 = 0) {
    Log log;
    Interpret(state_, Event(status, data1, static_cast<std::uint32_t>(data2)), {}, log);
    return log.lines;
  }

  std::vector<std::string> SystemExclusive(const std::vector<int>& bytes) {
    std::string data;
    for (const int byte : bytes) data += static_cast<char>(byte);
    Log log;
    Interpret(state_, Event(0xF0, 0, 0), data, log);
    return log.lines;
  }

  static MidiEvent Event(int status, int data1, std::uint32_t value) {
    return {.tick = 0,
            .value = value,
            .track = 0,
            .status = static_cast<std::uint8_t>(status),
            .data1 = static_cast<std::uint8_t>(data1)};
  }

  const ChannelState& Channel(int channel) const { return state_.channel[channel]; }

  ControlState state_ = ControlState::Initial();
};

TEST_F(ControlStateTest, ControllersThatCarryValues) {
  constexpr std::array<std::pair<int, ChannelValue>, 8> kControllers = {
      {{0, ChannelValue::kBank},
       {1, ChannelValue::kModulation},
       {7, ChannelValue::kVolume},
       {10, ChannelValue::kPan},
       {11, ChannelValue::kExpression},
       {64, ChannelValue::kSustain},
       {91, ChannelValue::kReverb},
       {93, ChannelValue::kChorus}}};
  for (const auto& [controller, which] : kControllers) {
    const auto event = kChannelValueTable[static_cast<std::size_t>(which)].event;
    EXPECT_THAT(Short(0xB5, controller, 33), ElementsAre("value 5 " + std::to_string(event)));
    EXPECT_EQ(Channel(5).Get(which), 33u);
    EXPECT_NE(Channel(4).Get(which), 33u);
  }
}

TEST_F(ControlStateTest, PressureOfAKeyIsPassedOnAndPressureOfAChannelKeptToo) {
  EXPECT_THAT(Short(0xA3, 60, 90), ElementsAre("key 3 60 90"));
  EXPECT_EQ(Channel(3).pressure, 0);
  EXPECT_THAT(Short(0xD3, 77), ElementsAre("pressure 3 77"));
  EXPECT_EQ(Channel(3).pressure, 77);
}

TEST_F(ControlStateTest, ABankWaitsForItsProgramChange) {
  Short(0xC2, 7);
  Short(0xB2, 0, 8);
  EXPECT_EQ(Channel(2).preset_bank, 0);
  EXPECT_THAT(Short(0xC2, 9), ElementsAre("value 2 2"));
  EXPECT_EQ(Channel(2).preset_bank, 8);
  EXPECT_EQ(Channel(2).preset_program, 9);
}

TEST_F(ControlStateTest, ChannelModeMessages) {
  EXPECT_THAT(Short(0xB1, 120), ElementsAre("mode 1 16"));
  EXPECT_THAT(Short(0xB1, 121), ElementsAre("mode 1 17"));
  EXPECT_THAT(Short(0xB1, 122), IsEmpty());
  for (const int controller : {123, 124, 125, 126, 127}) {
    EXPECT_THAT(Short(0xB1, controller), ElementsAre("mode 1 18"));
  }
}

TEST_F(ControlStateTest, DataEntryGoesToTheSelectedRegisteredParameter) {
  Short(0xB3, 6, 99);  // nothing is selected
  EXPECT_EQ(Channel(3).bend_range_semitones, 2);
  Short(0xB3, 101, 0);
  Short(0xB3, 100, 0);
  Short(0xB3, 6, 12);
  Short(0xB3, 38, 50);
  EXPECT_EQ(Channel(3).bend_range_semitones, 12);
  EXPECT_EQ(Channel(3).bend_range_cents, 50);
  Short(0xB3, 100, 1);
  Short(0xB3, 6, 70);
  EXPECT_EQ(Channel(3).fine_tuning_msb, 70);
  Short(0xB3, 100, 2);
  Short(0xB3, 6, 60);
  EXPECT_EQ(Channel(3).coarse_tuning, 60);
  Short(0xB3, 99, 1);  // a parameter that is not registered
  Short(0xB3, 6, 5);
  EXPECT_EQ(Channel(3).coarse_tuning, 60);
  EXPECT_EQ(Channel(3).bend_range_semitones, 12);
}

TEST_F(ControlStateTest, ResetOfControllersLeavesWhatItHasTo) {
  Short(0xB0, 7, 1);
  Short(0xB0, 10, 2);
  Short(0xB0, 91, 3);
  Short(0xB0, 1, 4);
  Short(0xB0, 11, 5);
  EXPECT_THAT(Short(0xB0, 121), ElementsAre("mode 0 17", "value 0 11", "value 0 14"));
  EXPECT_EQ(Channel(0).Get(ChannelValue::kVolume), 1u);
  EXPECT_EQ(Channel(0).Get(ChannelValue::kPan), 2u);
  EXPECT_EQ(Channel(0).Get(ChannelValue::kReverb), 3u);
  EXPECT_EQ(Channel(0).Get(ChannelValue::kModulation), 0u);
  EXPECT_EQ(Channel(0).Get(ChannelValue::kExpression), 127u);
}

TEST_F(ControlStateTest, SystemResetsOfAllMakers) {
  const std::vector<std::vector<int>> resets = {
      {0x7E, 0x7F, 0x09, 0x01, 0xF7},
      {0x7E, 0x10, 0x09, 0x02, 0xF7},
      {0x7E, 0x7F, 0x09, 0x03, 0xF7},
      {0x41, 0x10, 0x42, 0x12, 0x40, 0x00, 0x7F, 0x00, 0x41, 0xF7},
      {0x41, 0x10, 0x42, 0x12, 0x00, 0x00, 0x7F, 0x00, 0x01, 0xF7},
      {0x43, 0x10, 0x4C, 0x00, 0x00, 0x7E, 0x00, 0xF7},
      {0x43, 0x1F, 0x4C, 0x00, 0x00, 0x7F, 0x00, 0xF7}};
  for (const auto& reset : resets) {
    Short(0xB4, 7, 9);
    state_.channel[4].value[static_cast<std::size_t>(ChannelValue::kMixLevel)] = 7;
    EXPECT_THAT(SystemExclusive(reset), ElementsAre("reset", "value 4 12"));
    EXPECT_EQ(Channel(4).Get(ChannelValue::kVolume), 100u);
    EXPECT_EQ(Channel(4).Get(ChannelValue::kMixLevel), 7u);
    EXPECT_THAT(SystemExclusive(reset), ElementsAre("reset")) << "nothing is left to change";
  }
}

TEST_F(ControlStateTest, ASystemResetChoosesTheFirstPreset) {
  Short(0xB0, 0, 8);
  Short(0xC0, 1);
  Short(0xB0, 0, 9);  // for a program change that does not come
  EXPECT_THAT(SystemExclusive({0x7E, 0x7F, 0x09, 0x01, 0xF7}),
              ElementsAre("reset", "value 0 10", "value 0 2"));
  EXPECT_EQ(Channel(0).preset_bank, 0);
  EXPECT_EQ(Channel(0).preset_program, 0);
  EXPECT_EQ(Channel(0).next_bank, 0);
}

TEST_F(ControlStateTest, DrumPartsOfGsAndXg) {
  constexpr std::array<int, 16> kChannelOfBlock = {9, 0, 1,  2,  3,  4,  5,  6,
                                                   7, 8, 10, 11, 12, 13, 14, 15};
  for (int block = 0; block < 16; ++block) {
    const int channel = kChannelOfBlock[block];
    for (const int mode : {1, 2, 0}) {
      SystemExclusive({0x41, 0x10, 0x42, 0x12, 0x40, 0x10 | block, 0x15, mode, 0, 0xF7});
      EXPECT_EQ(Channel(channel).Get(ChannelValue::kDrums), mode != 0 ? 1u : 0u) << block;
    }
  }
  SystemExclusive({0x43, 0x10, 0x4C, 0x08, 0x0B, 0x07, 0x02, 0xF7});
  EXPECT_EQ(Channel(11).Get(ChannelValue::kDrums), 1u);
}

TEST_F(ControlStateTest, WhatIsNotUnderstoodDoesNothing) {
  const std::vector<std::vector<int>> strange = {
      {},
      {0xF7},
      {0x41},
      {0x7E, 0x7F, 0x09},
      {0x41, 0x10, 0x42, 0x12, 0x40, 0x00, 0x7F},
      {0x41, 0x10, 0x42, 0x11, 0x40, 0x00, 0x7F, 0x00, 0x41, 0xF7},
      {0x43, 0x10, 0x4C, 0x08, 0x10, 0x07, 0x01, 0xF7},
      {0x7F, 0x7F, 0x04, 0x01, 0x00, 0x40, 0xF7}};
  for (const auto& bytes : strange) EXPECT_THAT(SystemExclusive(bytes), IsEmpty());
}

TEST_F(ControlStateTest, InterfaceNumbersOfEvents) {
  const auto number = [](int status, int data1, std::uint32_t value) {
    bass::DWORD param = 0;
    const bass::DWORD event = InterfaceEvent(Event(status, data1, value), &param);
    return std::pair(event, param);
  };
  using Number = std::pair<bass::DWORD, bass::DWORD>;
  EXPECT_EQ(number(0x93, 60, 100), Number(1, 60 | 100 << 8));
  EXPECT_EQ(number(0x83, 60, 100), Number(1, 60));
  EXPECT_EQ(number(0xC3, 5, 0), Number(2, 5));
  EXPECT_EQ(number(0xE3, 0x7F, 0x7F), Number(4, 16383));
  EXPECT_EQ(number(0xB3, 0, 8), Number(10, 8));
  EXPECT_EQ(number(0xB3, 7, 9), Number(12, 9));
  EXPECT_EQ(number(0xB3, 120, 0), Number(16, 0));
  EXPECT_EQ(number(0xB3, 121, 0), Number(17, 0));
  EXPECT_EQ(number(0xB3, 123, 0), Number(18, 0));
  EXPECT_EQ(number(0xB3, 20, 1).first, 0u);
  EXPECT_EQ(number(0xFF, 0x51, 400000), Number(62, 400000));
  EXPECT_EQ(number(0xFF, 0x05, 0).first, 0u);
  EXPECT_EQ(number(0xF0, 0, 0).first, 0u);
}

}  // namespace
}  // namespace vexolo::engine
