#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

/// libjpeg reports errors by a function that must not return. This one jumps back into the call that
/// RunJpeg() guards, prints nothing and never ends the process.
struct JpegError {
    jpeg_error_mgr manager;  // first, so that libjpeg's pointer to it is one to the whole
    std::jmp_buf jump;

    jpeg_error_mgr* Install() {
        jpeg_std_error(&manager);
        manager.error_exit = [](j_common_ptr pInfo) {
            std::longjmp(reinterpret_cast<JpegError*>(pInfo->err)->jump, 1);
        };
        manager.emit_message = [](j_common_ptr, int) {};
        manager.output_message = [](j_common_ptr) {};
        return &manager;
    }
};

/// Runs `call`, which calls libjpeg; false if libjpeg reported an error. The jump skips what `call` has on
/// its stack, so nothing there, nor in callbacks that libjpeg makes, may need a destructor at that moment.
template <typename Call>
bool RunJpeg(JpegError& error, Call call) {
    if (setjmp(error.jump) != 0) return false;
    call();
    return true;
}
