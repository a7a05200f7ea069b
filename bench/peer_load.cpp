// The peer of loading the library: one function, with the C++ library behind it.
#include <string>

std::string PeerLoad(const char *text) {
    return std::string(text) + text;
}
