// Sentences of makers and the '$' logs of NovAtel's receivers before OEM4.
#include "vkcomm/decode/name_index.h"
#include "vkcomm/decode/name_tables.h"

namespace vkcomm {

namespace {

// The numbers never change: a new row takes the next number at the end of its group.

// $PASHR of Ashtech and Thales and $PTNL of Trimble with their second field, then sentences with their first.
constexpr auto kMakerSentences = std::to_array<KnownName>({
    {200001, "PASHR attitude", "heading, roll, pitch and heave with the time in the second field"},
    {200002, "PASHR,ACK", "set command accepted"},
    {200003, "PASHR,NAK", "command refused or not understood"},
    {200004, "PASHR,POS", "position, speed and dilutions"},
    {200005, "PASHR,SAT", "satellites tracked, with their signal levels"},
    {200006, "PASHR,RID", "receiver type, versions and options"},
    {200007, "PASHR,RRE", "range residuals and position error"},
    {200008, "PASHR,CRT", "cartesian position, velocity and dilutions"},
    {200009, "PASHR,DCR", "cartesian baseline to the base"},
    {200010, "PASHR,DPO", "local baseline to the base"},
    {200011, "PASHR,XMG", "exception message"},
    {200012, "PASHR,ARR", "vector and attitude of an antenna array"},
    {200013, "PASHR,BTS", "Bluetooth status"},
    {200014, "PASHR,TTT", "time of an event marker"},
    {200015, "PASHR,XDR", "transducer measurements"},
    {200016, "PASHR,MSG", "message text received from the base"},
    {200017, "PASHR,LTN", "latency of the position"},
    {200018, "PASHR,SA4", "satellite status, four-satellite form"},
    {200019, "PASHR,PTT", "time of the timing pulse"},
    {200020, "PASHR,GXP", "horizontal position and time"},
    {200021, "PASHR,UTM", "position on the UTM grid"},
    {200022, "PASHR,ALR", "alarms"},
    {200023, "PASHR,CBN", "binary position"},
    {200024, "PASHR,MBN", "binary measurements"},
    {200025, "PASHR,MPC", "binary measurements, three code blocks"},
    {200026, "PASHR,MCA", "binary measurements, one code block"},
    {200027, "PASHR,PBN", "binary position and velocity"},
    {200028, "PASHR,SNV", "binary ephemeris"},
    {200029, "PASHR,SAL", "binary almanac"},
    {200030, "PASHR,RPC", "packed real-time carrier data"},
    {200031, "PASHR,DBN", "packed base data"},
    {200032, "PASHR,EPB", "raw ephemeris"},
    {200033, "PASHR,ION", "ionosphere and UTC parameters"},
    {200034, "PASHR,BPS", "base position"},
    {200035, "PASHR,CPD", "carrier phase differential settings and status"},
    {200036, "PASHR,MIS", "miscellaneous parameters"},
    {200037, "PASHR,PER", "recording or output interval"},
    {200038, "PASHR,SIT", "site name"},
    {200039, "PASHR,INF", "session information"},
    {200040, "PASHR,STA", "satellites locked, with their signal levels"},
    {200041, "PASHR,SVS", "satellite selection"},
    {200042, "PASHR,TST", "self-test"},
    {200043, "PASHR,ZDA", "time and date"},
    {200044, "PASHR,VTG", "course and speed over ground"},
    {200045, "PASHR,GGA", "position fix"},
    {200046, "PASHR,ELM", "elevation mask"},
    {200047, "PASHR,MSV", "least number of satellites"},
    {200048, "PASHR,ANT", "antenna parameters"},
    {200049, "PASHR,ANH", "antenna height"},
    {200050, "PASHR,PRT", "speed of a port"},
    {200051, "PASHR,SPD", "speed of a port"},
    {200052, "PASHR,RTR", "port settings"},
    {200053, "PASHR,RTC", "RTCM settings and status"},
    {200054, "PASHR,SGL", "GLONASS satellites"},
    {200055, "PASHR,SGP", "GPS satellites"},
    {200056, "PASHR,OPTION", "receiver option"},
    {200057, "PASHR,ATT", "heading, pitch, roll and their errors"},
    {200058, "PASHR,HPR", "heading, pitch and roll"},
    {200059, "PASHR,VEL", "velocity"},
    {200060, "PASHR,PWR", "power status"},
    {200061, "PASHR,TEM", "receiver temperature"},
    {200062, "PASHR,DDS", "differential decoder status"},
    {200063, "PASHR,VCT", "baseline vector"},
    {200064, "PASHR,SGA", "Galileo satellites"},
    {200065, "PASHR,SGO", "Galileo satellites, newer form"},
    {200066, "PASHR,CAP", "parameters of the antenna at the base"},
    {210001, "PTNL,GGK", "position fix with date and ellipsoidal height"},
    {210002, "PTNL,AVR", "yaw, tilt and range of a moving baseline"},
    {210003, "PTNL,BPQ", "base position and quality"},
    {210004, "PTNL,DG", "L-band or beacon signal"},
    {210005, "PTNL,EVT", "time of an event marker"},
    {210006, "PTNL,PJK", "position on the local grid"},
    {210007, "PTNL,PJT", "projection in use"},
    {210008, "PTNL,VGK", "vector to the base"},
    {210009, "PTNL,VHD", "heading and length of the vector to the base"},
    {210010, "PTNL,QA", "position quality"},
    {210011, "PTNL,GGK_SYNC", "position fix, synchronised"},
    {220001, "PCSI", "status and replies of CSI beacon receivers"},
    {220002, "PSAT", "Hemisphere status sentences"},
    {220003, "RD1", "Hemisphere SBAS diagnostics"},
});

// The logs that the library's users meet most, then the others by their names.
constexpr auto kNovatelAscii = std::to_array<KnownName>({
    {1, "ALMA", "decoded almanac"},
    {2, "IONA", "ionosphere parameters"},
    {3, "UTCA", "UTC parameters"},
    {4, "POSA", "computed position"},
    {5, "PRTKA", "best real-time kinematic position"},
    {6, "RTKA", "time-matched real-time kinematic position"},
    {7, "RGEA", "channel range measurements"},
    {8, "REPA", "raw ephemeris"},
    {9, "DOPA", "dilutions of precision"},
    {10, "SATA", "satellite specific data"},
    {11, "VERA", "hardware and software versions"},
    {12, "CALA", "GLONASS calendar"},
    {13, "BATA", "attitude or baseline of a two-antenna receiver"},
    {14, "ATTA", "attitude of a two-antenna receiver"},
    {15, "BSLA", "most recent time-matched baseline"},
    {16, "CDSA", "communication and differential decode status"},
    {17, "CLKA", "receiver clock offset"},
    {18, "CLMA", "clock model"},
    {19, "COM1A", "data received on port 1"},
    {20, "COM2A", "data received on port 2"},
    {21, "ETSA", "extended channel tracking status"},
    {22, "FRMA", "framed raw navigation data"},
    {23, "GALA", "GLONASS almanac"},
    {24, "GCLA", "GLONASS clock"},
    {25, "GEPA", "GLONASS ephemeris"},
    {26, "MKPA", "position at the mark input"},
    {27, "MKTA", "time of the mark input"},
    {28, "NAVA", "waypoint navigation"},
    {29, "PAVA", "position averaging"},
    {30, "PVAA", "cartesian position, velocity and acceleration"},
    {31, "PXYA", "cartesian position"},
    {32, "RALA", "raw almanac"},
    {33, "RASA", "raw almanac set"},
    {34, "RCCA", "receiver configuration"},
    {35, "RPSA", "reference station position and health"},
    {36, "RTCAA", "RTCA corrections"},
    {37, "RTCMA", "RTCM corrections"},
    {38, "RTKOA", "real-time kinematic solution parameters"},
    {39, "RVSA", "receiver status"},
    {40, "SBTA", "satellite broadcast data, raw symbols"},
    {41, "SPHA", "speed and direction over ground"},
    {42, "SVDA", "satellite positions with corrections"},
    {43, "TM1A", "time of the one-second pulse"},
    {44, "VLHA", "velocity, latency and direction"},
    {45, "WRCA", "wide-band range correction"},
});

constexpr detail::NameIndex kMakerIndex(kMakerSentences);
constexpr detail::NameIndex kNovatelIndex(kNovatelAscii);

static_assert(detail::isOrderedById(kMakerSentences) && detail::idsAreUnique(kMakerSentences) &&
              detail::namesFit(kMakerSentences) && kMakerIndex.isUnique());
static_assert(detail::isOrderedById(kNovatelAscii) && detail::idsAreUnique(kNovatelAscii) &&
              detail::namesFit(kNovatelAscii) && kNovatelIndex.isUnique());

}  // namespace

std::span<const KnownName> detail::makerSentenceNames() { return kMakerSentences; }

std::span<const KnownName> detail::novatelAsciiNames() { return kNovatelAscii; }

const KnownName* detail::findMakerSentence(std::string_view name) { return kMakerIndex.find(name); }

const KnownName* detail::findNovatelAscii(std::string_view name) { return kNovatelIndex.find(name); }

}  // namespace vkcomm
