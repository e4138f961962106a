// Receiver families, the decode mask that suits each, and the records that tell it from others.
//
// Some frames of one family can swallow bytes of another (see CNOut), so a host that knows its receiver sets
// this mask; every record of the family still comes out, also from a damaged stream.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "host/record_view.h"

namespace vkcomm {

struct ReceiverFamily {
    std::string_view name;
    std::uint32_t decodeMask;
    std::uint32_t ownTypes;  // bit LOG_TYPE: records of that type are the family's; LOG_NONE: Javad messages
    std::string_view about;

    // Sentences are the own records only of families that may send nothing else.
    bool owns(const RecordView& record) const {
        if (record.type == LOG_NONE && record.source != RecordSource::kJavad) return ownTypes == ~0U;
        return (ownTypes >> record.type & 1U) != 0;
    }
};

// All families, for lists and help texts; "all" is the first.
std::span<const ReceiverFamily> receiverFamilies();
// The row of that name, or null.
const ReceiverFamily* findFamily(std::string_view name);

// Frames whose check tells them from noise.
inline constexpr std::uint32_t kCheckedFrames =
    kDecodeSentence | kDecodeOem4Ascii | kDecodeTrimble | kDecodeCmc | kDecodeMaker | kDecodeHemisphere;

// The mask for a stream whose family was guessed: what was recognised may not be all that comes, but of other
// families only checked frames are looked for. Null, not recognised: everything.
inline std::uint32_t guessedMask(const ReceiverFamily* family) {
    return family ? family->decodeMask | kCheckedFrames : kDecodeAll;
}

}  // namespace vkcomm
