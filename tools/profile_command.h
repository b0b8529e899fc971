// veskaro-nr profile: the noise of pictures, without denoising them.
#pragma once

namespace tool {

// argv[0] is "profile". Returns the exit status; throws UsageError.
int runProfile(int argc, const char* const* argv);

}  // namespace tool
