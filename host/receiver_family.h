// Receiver families and the decode mask that suits each.
//
// Some frames of one family can swallow bytes of another (see CNOut), so a host that knows its receiver sets
// this mask; every record of the family still comes out, also from a damaged stream.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace vkcomm {

struct ReceiverFamily {
    std::string_view name;
    std::uint32_t decodeMask;
    std::string_view about;
};

// All families, for lists and help texts; "all" is the first.
std::span<const ReceiverFamily> receiverFamilies();
// The row of that name, or null.
const ReceiverFamily* findFamily(std::string_view name);

}  // namespace vkcomm
