# Finds Boost for the developer kit: Boost::json, which brings the headers.
if(WIN32)
  # A cross build takes the headers from the dependency folder, never from the system's include folder.
  find_path(VELK_BOOST_INCLUDE boost/json.hpp REQUIRED)
  add_library(boost_json STATIC ${CMAKE_CURRENT_LIST_DIR}/boost_json.cpp)
  velk_settings(boost_json)
  target_include_directories(boost_json SYSTEM PUBLIC ${VELK_BOOST_INCLUDE})
  # What Asio and Boost.Process call.
  target_link_libraries(boost_json INTERFACE ws2_32 mswsock bcrypt ntdll)
  add_library(Boost::json ALIAS boost_json)
else()
  # Static linking lets the sandbox run on machines without Boost.
  set(Boost_USE_STATIC_LIBS ON)
  find_package(Boost REQUIRED COMPONENTS json)
endif()
