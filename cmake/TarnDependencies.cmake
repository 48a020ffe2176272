find_package(Threads REQUIRED)
find_package(OpenSSL 3 REQUIRED)
find_package(Boost 1.81 REQUIRED COMPONENTS json url)
find_package(PkgConfig REQUIRED)
find_package(CLI11 REQUIRED)
pkg_check_modules(SECRET REQUIRED IMPORTED_TARGET libsecret-1)
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
pkg_check_modules(SPEEXDSP REQUIRED IMPORTED_TARGET speexdsp)
pkg_check_modules(POCKETSPHINX REQUIRED IMPORTED_TARGET pocketsphinx)
if(TARN_BUILD_TESTS)
  find_package(GTest REQUIRED)
  include(GoogleTest)
endif()

# Asio, its TLS part and Beast are compiled once, into one library, and declared everywhere else.
add_library(tarn_boost STATIC ${CMAKE_SOURCE_DIR}/cmake/BoostSources.cpp)
target_compile_definitions(tarn_boost PUBLIC BOOST_ASIO_SEPARATE_COMPILATION BOOST_BEAST_SEPARATE_COMPILATION
                                             BOOST_ASIO_NO_DEPRECATED)
target_link_libraries(tarn_boost PUBLIC Boost::headers Boost::json Boost::url OpenSSL::SSL OpenSSL::Crypto Threads::Threads)
