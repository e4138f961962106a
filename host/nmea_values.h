// The values of an NMEA sentence as named fields, with units in the names.
#pragma once

#include "host/field_writer.h"
#include "vkcomm/formats/nmea_format.h"

namespace vkcomm {

// Gives sentence to parser when it is one of the five that parser reads, and writes what it then holds:
// angles in degrees with nine decimals (a tenth of a millimetre), lengths in metres. A sentence that stores
// nothing writes "stored" false. Every other sentence writes its data fields as a list of texts.
void writeNmeaValues(FieldWriter& out, CNmeaFormat& parser, unsigned int id, ByteSpan sentence);

}  // namespace vkcomm
