// Holds the one compiled copy of the JSON library, which is used header-only.
#include <boost/json/src.hpp>
