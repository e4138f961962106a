// Commands for Thales (Ashtech) receivers. Built without a port; see command_step.h. Pure functions; any thread.
#pragma once

#include "vkcomm/control/command_step.h"

namespace vkcomm {

// All NMEA output off on ports A to D; then GGA and ZDA every second and GSA, GST and SAT every two seconds on
// one port. The letter is sent as it is given.
VKCOMM_API CommandSteps thalesInit(char port);

// The rate of a receiver's port by index 0 to 9 of kBaudRates, which is the receiver's own code; an index
// outside is sent as it is.
VKCOMM_API CommandSteps thalesBaud(char port, int baudIndex);

}  // namespace vkcomm
