// The commands that make a receiver a rover: masks, where corrections come in, in which format, from which
// station. Built without a port; see command_step.h.
//
// Elevation masks outside 0 to 90 degrees, PDOP masks outside 0 to 255 and masks that are not finite give no
// steps at all (see roverMaskProblem). A station identifier ends at its first control character. The line that
// turns a port into a correction input is the last one, since it may be the port that takes the commands. Pure
// functions; any thread.
#pragma once

#include <string>

#include "vkcomm/control/command_step.h"
#include "vkcomm/frames/receiver_type.h"
#include "vkcomm/settings/rover_config.h"

namespace vkcomm {

// Empty, or what is wrong with the masks.
VKCOMM_API std::string roverMaskProblem(double elevation, double pdop);

// uVarekFormat as in the base record: 0, 3, 6 CMR; 1, 4, 8 RTCM 2; 2, 5 RTCA; 7 RTCM 3; others leave source and
// port mode alone. The port number in uCom is that of "com<n>"; 0 leaves the ports alone. The ionosphere, 0
// quiet, 1 normal or 2 disturbed, is set with command set 2 only. NovAtel boards have no PDOP mask.
VKCOMM_API CommandSteps novatelRover(GPSOEMTYPE type, const CRoverConfig& config, int commandSet,
                                     int ionosphere);

// Trimble receivers tell correction formats apart by themselves and take any station: uTrimbleFormat and the
// station of the record send nothing. Masks go out as whole numbers.
VKCOMM_API CommandSteps trimbleRover(GPSOEMTYPE portType, GPSOEMTYPE type, const CRoverConfig& config);

// A port index above 3 is port a, as for bases. The elevation mask goes out as a whole number. The commands for
// the ambiguity level and the environment are not known: nothing is sent for them.
VKCOMM_API CommandSteps javadRover(const CRoverConfigJavad& config);

}  // namespace vkcomm
