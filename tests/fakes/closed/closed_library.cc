// A small library with the names of the closed ones, of another version: built three times, as each
// of the three files. Its table of functions is complete; none of them does anything.
#include <cstdint>

#ifdef VEXOLO_FAKE_BASS
extern "C" {
std::uint32_t BASS_GetVersion() { return 0x02030406; }
int BASS_ErrorGetCode() { return 41; }
int BASS_Init() { return 0; }
int BASS_Free() { return 0; }
int BASS_PluginFree() { return 0; }
int BASS_ChannelPlay() { return 0; }
int BASS_ChannelStop() { return 0; }
int BASS_ChannelIsActive() { return 0; }
int BASS_ChannelGetLength() { return 0; }
int BASS_ChannelGetPosition() { return 0; }
int BASS_ChannelSetPosition() { return 0; }
int BASS_ChannelSeconds2Bytes() { return 0; }
int BASS_ChannelBytes2Seconds() { return 0; }
int BASS_ChannelGetLevel() { return 0; }
int BASS_ChannelGetData() { return 0; }
int BASS_ChannelSetSync() { return 0; }
int BASS_ChannelSetDSP() { return 0; }
int BASS_ChannelGetTags() { return 0; }
int BASS_StreamFree() { return 0; }
}
#endif

#ifdef VEXOLO_FAKE_MIDI
extern "C" {
int BASS_MIDI_StreamCreateFile() { return 0; }
int BASS_MIDI_StreamGetMark() { return 0; }
int BASS_MIDI_StreamGetEvents() { return 0; }
int BASS_MIDI_StreamEvent() { return 0; }
int BASS_MIDI_StreamGetEvent() { return 0; }
int BASS_MIDI_StreamSetFonts() { return 0; }
int BASS_MIDI_StreamGetFonts() { return 0; }
int BASS_MIDI_FontInit() { return 0; }
int BASS_MIDI_FontFree() { return 0; }
int BASS_MIDI_FontGetInfo() { return 0; }
int BASS_MIDI_FontGetPreset() { return 0; }
int BASS_MIDI_FontSetVolume() { return 0; }
}
#endif

#ifdef VEXOLO_FAKE_ENCODE
extern "C" {
int BASS_Encode_Start() { return 0; }
std::uint32_t BASS_Encode_IsActive(std::uint32_t handle) { return handle == 0 ? 7 : 0; }
int BASS_Encode_Stop() { return 0; }
}
#endif
