// The commands that make a receiver a rover: masks, where corrections come in, in which format, from which
// station. Built without a port; see command_step.h.
//
// Elevation masks outside 0 to 90 degrees, PDOP masks outside 0 to 255 and masks that are not finite give no
// steps at all (see setup_limits.h). A station identifier ends at its first control character. Pure functions; any
// thread.
//
// The port for corrections may be the one that takes the commands. The line that turns it into an input is therefore
// the last one, and the line before it, which sets its rate, says so (CommandStep::newRate): whoever is at that port
// must follow, or the last line is not understood.
#pragma once

#include <string>

#include "vkcomm/control/command_step.h"
#include "vkcomm/control/setup_limits.h"
#include "vkcomm/frames/receiver_type.h"
#include "vkcomm/settings/rover_config.h"

namespace vkcomm {

// uVarekFormat as in the base record: 0, 3, 6 CMR; 1, 4, 8 RTCM 2; 2, 5 RTCA; 7 RTCM 3; others leave source and
// port mode alone. The port number in uCom is that of "com<n>"; 0 leaves the ports alone. The ionosphere, 0
// quiet, 1 normal or 2 disturbed, is set with command set 2 only. Code corrections get a source of their own only
// where the format has such (RTCM 2, RTCA): boards refuse others there. NovAtel boards have no PDOP mask.
VKCOMM_API CommandSteps novatelRover(GPSOEMTYPE type, const CRoverConfig& config, int commandSet,
                                     int ionosphere);

// Trimble receivers tell correction formats apart by themselves and take any station: uTrimbleFormat and the
// station of the record send nothing. Masks go out as whole numbers. Types 15 and 16 get port 1 and 38,400 baud
// whatever the record says, as for bases: it is the board's only link to the receiver around it.
VKCOMM_API CommandSteps trimbleRover(GPSOEMTYPE portType, GPSOEMTYPE type, const CRoverConfig& config);

// Port index 0 is port a, 25 port z; others are port a. The elevation mask goes out as a whole number. The commands
// for the ambiguity level and the environment are not known: nothing is sent for them.
VKCOMM_API CommandSteps javadRover(const CRoverConfigJavad& config);

}  // namespace vkcomm
