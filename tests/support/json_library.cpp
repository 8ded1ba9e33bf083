// The JSON library's own code, for the Windows build: natively it is linked.
#include <boost/json/src.hpp>
