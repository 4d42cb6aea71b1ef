# Libraries of others; packages.txt names the packages that bring them.
find_package(Threads REQUIRED)
find_package(JPEG REQUIRED)
find_package(PNG REQUIRED)
find_package(GIF REQUIRED)
find_package(TIFF REQUIRED)
find_package(CLI11 REQUIRED)

find_package(PkgConfig REQUIRED)
pkg_check_modules(WEBP REQUIRED IMPORTED_TARGET libwebp)
pkg_check_modules(ISAL REQUIRED IMPORTED_TARGET libisal)
pkg_check_modules(HWY REQUIRED libhwy)

if(QXTNG_BUILD_TESTS)
    find_package(GTest REQUIRED)
    find_package(benchmark REQUIRED)
    include(GoogleTest)
endif()
