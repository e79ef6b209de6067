// The library's identification, read by the renderer when it loads the library.

extern "C" {

extern const char* const dso_version_orvane;
const char* const dso_version_orvane = "=@@= orvane linux-x86 for mental ray 3.1 (3.1.3.17)";
}
