// A module that lets an exception out: of its main function, or with an argument of its end.
#include <dxr_module.h>

#include <new>
#include <stdexcept>

int DxrModuleMain(int argc, char ** /*argv*/) {
    if (argc == 1) {
        throw std::out_of_range("port 3");
    }
    return 0;
}

void DxrModuleEnd() {
    throw std::bad_alloc();
}
