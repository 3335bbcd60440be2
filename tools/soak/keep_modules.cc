/// Modules stay loaded to the end of the program. Leaks are looked for after the toolkit has let go
/// of the drivers of the screen, and once one is unloaded, all that it still points to would count
/// as lost, from a place that has no name any more.
#if defined(__SANITIZE_ADDRESS__)
extern "C" int dlclose(void*) { return 0; }
#endif
