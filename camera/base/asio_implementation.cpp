// The part of Asio that is not templates is compiled here, once (BOOST_ASIO_SEPARATE_COMPILATION).
#include <boost/asio/impl/src.hpp>
