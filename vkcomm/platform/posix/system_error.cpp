#include "vkcomm/platform/system_error.h"

#include <system_error>
#include <utility>

namespace vkcomm {

SystemError systemError(std::string what, int code) {
    return {std::move(what), code, std::system_category().message(code)};
}

}  // namespace vkcomm
