#include "vkcomm/frames/receiver_type.h"

#include <algorithm>
#include <array>

namespace vkcomm {

namespace {

constexpr unsigned char kUsualSelector = 0x18;

struct TypeRow {
    GPSOEMTYPE type;
    SetupFamily family = SetupFamily::kNone;
    SetupFamily inside = SetupFamily::kNone;
    unsigned char selector = kUsualSelector;
    unsigned char correctionSelector = kUsualSelector;
    bool olderTrimble = false;
    bool dataModem = false;
};

using enum SetupFamily;

constexpr TypeRow kOther{OEM_NONE};

constexpr std::array<TypeRow, 21> kTypes = {{
    kOther,
    {OEM_TRIMBLE, kTrimble, kNone, 0x19, 0x19, true},
    {OEM_NOVATEL, kNovatel, kNone, 0x48, 0x48},
    {OEM_CMC, kCmc},
    {OEM_TYPE_3, kNone, kNone, 0x49, 0x49},
    {OEM_TYPE_4, kNone, kNone, 0x39, 0x39},
    {OEM_NOVATEL_5, kNovatel, kNovatel, 0x38, 0x38},
    {OEM_NOVATEL_6, kNovatel, kNovatel},
    {OEM_TRIMBLE_7, kTrimble},
    {OEM_TRIMBLE_8, kTrimble},
    {OEM_TYPE_9, kNone, kNone, 0x1B},
    {OEM_TYPE_10, kNone, kNone, 0x3B, 0x3B},
    {OEM_TYPE_11, kNone, kCmc},
    {OEM_TYPE_12, kNone, kCmc, 0x38, 0x38},
    {OEM_TYPE_13},
    {OEM_TRIMBLE_14, kTrimble, kNone, kUsualSelector, kUsualSelector, true},
    {OEM_VAREK_TRIMBLE_15, kTrimble, kTrimble, 0x38, 0x38, true},
    {OEM_VAREK_TRIMBLE_16, kTrimble, kTrimble, kUsualSelector, kUsualSelector, true},
    {OEM_TYPE_17},
    {OEM_NOVATEL_18, kNovatel, kNone, kUsualSelector, kUsualSelector, false, true},
    {OEM_NOVATEL_19, kNovatel, kNone, 0x38, kUsualSelector, false, true},
}};

const TypeRow& rowOf(GPSOEMTYPE type) {
    const auto row =
        std::find_if(kTypes.begin(), kTypes.end(), [type](const TypeRow& each) { return each.type == type; });
    return row == kTypes.end() ? kOther : *row;
}

}  // namespace

SetupFamily setupFamily(GPSOEMTYPE type) { return rowOf(type).family; }

unsigned char makerSelector(GPSOEMTYPE type) { return rowOf(type).selector; }

unsigned char correctionSelector(GPSOEMTYPE type) { return rowOf(type).correctionSelector; }

bool isOlderTrimble(GPSOEMTYPE type) { return rowOf(type).olderTrimble; }

SetupFamily boardInside(GPSOEMTYPE type) { return rowOf(type).inside; }

bool hasDataModem(GPSOEMTYPE type) { return rowOf(type).dataModem; }

}  // namespace vkcomm
