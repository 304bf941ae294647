// Writing past the process's file size limit (RLIMIT_FSIZE) is an error like any other here.
#pragma once

namespace quill::darwin {

/// Called before a file is opened for writing. Where the program leaves SIGXFSZ at its default, which ends the program,
/// a handler that does nothing takes its place, so that the write fails with EFBIG. What the program has chosen itself
/// stays, and programs that it starts get the default again. Once per process; any thread.
void SurviveFileSizeLimit() noexcept;

}  // namespace quill::darwin
