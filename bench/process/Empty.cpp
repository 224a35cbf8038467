// What loading any C++ library takes.
extern "C" [[gnu::visibility("default")]] int Nothing() {
  return 0;
}
