// Compiles the JSON library for the Windows build. Native builds link it instead.
#include <boost/json/src.hpp>
