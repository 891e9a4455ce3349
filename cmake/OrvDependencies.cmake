# Third-party libraries, all of them from the distribution.
find_package(Threads REQUIRED)
find_package(Boost 1.81 REQUIRED COMPONENTS json)
find_package(OpenSSL 3 REQUIRED)
find_package(ICU 72 REQUIRED COMPONENTS i18n uc)
find_package(EXPAT 2.5 REQUIRED)

# What a user of the public headers needs: the standard library and Boost.JSON values.
add_library(orv_public_dependencies INTERFACE)
target_link_libraries(orv_public_dependencies INTERFACE Boost::json Threads::Threads)
