#include "tools/uxvisa/Driver.h"

#include "api/DynamicVisa.h"
#include "tools/uxvisa/Failure.h"

namespace uxvisa::tool {

void BindDriver(const std::string& path) {
    if (Visa.Initialize(path.c_str()) < 0) {
        throw Failure(ExitFailed, path, "the driver library cannot be loaded",
                      "the loader looks in its own path and in LD_LIBRARY_PATH; a file in this "
                      "folder is ./NAME");
    }
}

} // namespace uxvisa::tool
