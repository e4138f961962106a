#include "vkcomm/platform/system_error.h"

#include <system_error>
#include <utility>

namespace vkcomm {

SystemError libraryError(std::string what, int code) {
    return {std::move(what), code, std::generic_category().message(code)};
}

}  // namespace vkcomm
