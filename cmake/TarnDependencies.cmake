find_package(Threads REQUIRED)
find_package(OpenSSL 3 REQUIRED)
find_package(Boost 1.81 REQUIRED COMPONENTS json url)
find_package(PkgConfig REQUIRED)
find_package(CLI11 REQUIRED)
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Qml Quick QuickControls2)
# Qt's short words are names that other libraries use (Asio's "emit"); Q_EMIT and its like stand in their place.
set_property(TARGET Qt6::Core APPEND PROPERTY INTERFACE_COMPILE_DEFINITIONS QT_NO_KEYWORDS)
pkg_check_modules(GIO REQUIRED IMPORTED_TARGET gio-2.0 gio-unix-2.0)
pkg_check_modules(SECRET REQUIRED IMPORTED_TARGET libsecret-1)
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
pkg_check_modules(PIPEWIRE REQUIRED IMPORTED_TARGET libpipewire-0.3)
# Its calls are macros around statement expressions, which is where clang sees them: in our code.
target_compile_options(PkgConfig::PIPEWIRE INTERFACE
                       $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-statement-expression-from-macro-expansion>)
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb xcb-xfixes)
pkg_check_modules(XCB_XKB REQUIRED IMPORTED_TARGET xcb xcb-xkb)
pkg_check_modules(FONTCONFIG REQUIRED IMPORTED_TARGET fontconfig)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-i18n)
pkg_check_modules(KISSFFT REQUIRED IMPORTED_TARGET kissfft-float)
pkg_check_modules(POCKETSPHINX REQUIRED IMPORTED_TARGET pocketsphinx)
if(TARN_BUILD_BENCH)
  pkg_check_modules(SPEEXDSP REQUIRED IMPORTED_TARGET speexdsp)
endif()
# The interface's symbols are glyphs of this font, which becomes part of the program.
find_file(TARN_SYMBOL_FONT MaterialIcons-Regular.ttf REQUIRED
          PATHS /usr/share/fonts/truetype/material-design-icons-iconfont NO_DEFAULT_PATH)
if(TARN_BUILD_TESTS)
  find_package(Qt6 6.4 REQUIRED COMPONENTS QuickTest Test)
  find_package(GTest REQUIRED)
  include(GoogleTest)
endif()

# Asio, its TLS part and Beast are compiled once, into one library, and declared everywhere else.
add_library(tarn_boost STATIC ${CMAKE_SOURCE_DIR}/cmake/BoostSources.cpp)
target_compile_definitions(tarn_boost PUBLIC BOOST_ASIO_SEPARATE_COMPILATION BOOST_BEAST_SEPARATE_COMPILATION
                                             BOOST_ASIO_NO_DEPRECATED)
target_link_libraries(tarn_boost PUBLIC Boost::headers Boost::json Boost::url OpenSSL::SSL OpenSSL::Crypto Threads::Threads)
