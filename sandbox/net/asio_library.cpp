// Compiles Asio once, as BOOST_ASIO_SEPARATE_COMPILATION requires.
#include <boost/asio/impl/src.hpp>
#include <boost/asio/ssl/impl/src.hpp>
