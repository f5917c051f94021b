# The third-party libraries, found once. All of them stay behind sources of LXUtils (and of LXTesting): no installed
# header includes one.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(CURL 7.84 REQUIRED)
find_package(OpenSSL 3.0 REQUIRED)
find_package(ZLIB REQUIRED)
find_package(Boost 1.81 REQUIRED COMPONENTS json CONFIG)
find_package(fmt 9 REQUIRED)
pkg_check_modules(liburiparser REQUIRED IMPORTED_TARGET GLOBAL liburiparser)
pkg_check_modules(libpsl REQUIRED IMPORTED_TARGET GLOBAL libpsl)
pkg_check_modules(libplist REQUIRED IMPORTED_TARGET GLOBAL libplist-2.0)
