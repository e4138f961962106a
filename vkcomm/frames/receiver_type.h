// The receiver (board) types and what follows from each: whose commands it takes and how it is addressed.
//
// Every builder of commands takes one as its dialect. Any int may stand in a GPSOEMTYPE; values that have no
// name behave as OEM_NONE.
#pragma once

#include "vkcomm/export.h"

namespace vkcomm {

enum GPSOEMTYPE : int {
    OEM_NONE = -1,
    OEM_TRIMBLE = 0,
    OEM_NOVATEL = 1,
    OEM_CMC = 2,
    OEM_TYPE_3 = 3,
    OEM_TYPE_4 = 4,
    OEM_NOVATEL_5 = 5,  // NovAtel engine inside one of the maker's receivers, as is type 6
    OEM_NOVATEL_6 = 6,
    OEM_TRIMBLE_7 = 7,
    OEM_TRIMBLE_8 = 8,
    OEM_TYPE_9 = 9,
    OEM_TYPE_10 = 10,
    OEM_TYPE_11 = 11,
    OEM_TYPE_12 = 12,
    OEM_TYPE_13 = 13,
    OEM_TRIMBLE_14 = 14,
    OEM_VAREK_TRIMBLE_15 = 15,  // Trimble engine inside one of the maker's receivers, as is type 16
    OEM_VAREK_TRIMBLE_16 = 16,
    OEM_TYPE_17 = 17,
    OEM_NOVATEL_18 = 18,
    OEM_NOVATEL_19 = 19,
};

// Which command set makes the receiver a base or a rover.
enum class SetupFamily { kNone, kTrimble, kNovatel, kCmc };

VKCOMM_API SetupFamily setupFamily(GPSOEMTYPE type);

// The byte at offset 4 of the maker's frame.
VKCOMM_API unsigned char makerSelector(GPSOEMTYPE type);

// The same byte in frames of correction data. Deliberate: types 9 and 19 have the usual one there, though not in
// frames of commands; receivers in the field are driven so.
VKCOMM_API unsigned char correctionSelector(GPSOEMTYPE type);

// Types whose Trimble application files have the record lengths and the device code of the older generation:
// 0 and 14 to 16.
VKCOMM_API bool isOlderTrimble(GPSOEMTYPE type);

// Whose board is inside one of the maker's receivers, which wants what is meant for the board in its frames:
// NovAtel for types 5 and 6, CMC for 11 and 12, Trimble for 15 and 16. kNone for all others.
VKCOMM_API SetupFamily boardInside(GPSOEMTYPE type);

// NovAtel boards with a data modem of their own: 18 and 19.
VKCOMM_API bool hasDataModem(GPSOEMTYPE type);

}  // namespace vkcomm
