// The commands that make a receiver a base station, family by family: its position, the correction format,
// station identifier, rates and the output port. Built without a port; see command_step.h.
//
// Positions are those of the antenna's phase centre: latitude and longitude in radians, ellipsoidal height in
// metres. One that no base can stand on gives no steps at all (see setup_limits.h). An index outside its
// table gives the table's default. A station identifier ends at its first control character. Pure functions;
// any thread.
#pragma once

#include <string>

#include "vkcomm/control/command_step.h"
#include "vkcomm/control/setup_limits.h"
#include "vkcomm/datum/geodetic.h"
#include "vkcomm/frames/receiver_type.h"
#include "vkcomm/settings/base_config.h"

namespace vkcomm {

// NovAtel, first step: masks and position.
VKCOMM_API CommandSteps novatelBasePosition(GPSOEMTYPE type, const CBaseConfig& config, const BLH& position);

// NovAtel, second step: logs, identifier, port mode and baud. commandSet is the board's command-set generation
// 1 or 2; any other value gives no logs for format 7 (RTCM 3). Formats from 9 on give no logs.
VKCOMM_API CommandSteps novatelBaseOutput(GPSOEMTYPE type, const CBaseConfig& config, int commandSet);

VKCOMM_API CommandSteps javadBase(const CBaseConfigJavad& config, const BLH& position);

VKCOMM_API CommandSteps cmcBase(const BLH& position);

// Types 15 and 16 have their radio at port 1 and 38,400 baud inside: sets these in the record, and leaves the
// records of other types alone.
VKCOMM_API void setBoardLink(GPSOEMTYPE type, CBaseConfig& config);

// Trimble: one application file. Of the station name the first eight characters count. The identifier's low 10
// bits are the RTCM station, its low 5 bits the CMR station. portType is the port's own receiver type, which
// decides the wrapping.
//
// uTrimbleFormat: 0 RTCM code corrections, 1 RTCM code and phase, 2 RTCM phase, 3 CMR, 4 CMR+, 5 CMRx, others
// CMR+; with nAddRTCM RTCM code corrections as well. nParity: 0 none, 1 odd, 2 even, others none. An interval that
// has no frequency code is sent as one second.
VKCOMM_API CommandSteps trimbleBase(GPSOEMTYPE portType, GPSOEMTYPE type, const CBaseConfig& config,
                                    const BLH& position, const std::wstring& stationName);

}  // namespace vkcomm
