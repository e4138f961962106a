#include "vkcomm/datum/process_settings.h"

#include <atomic>

namespace vkcomm {

namespace {

constexpr int kEnglish = 1;

std::atomic<int> language{kEnglish};
std::atomic<long> timeZoneSeconds{0};
std::atomic<double> heightError{0.0};

}  // namespace

int nGetLang() { return language; }

void vSetLang(int nLang) { language = nLang; }

long lngGetTimeZoneSec() { return timeZoneSeconds; }

void vSetTimeZoneSec(long lngSeconds) { timeZoneSeconds = lngSeconds; }

double dGetHerror() { return heightError; }

void vSetHerror(double dMetres) { heightError = dMetres; }

}  // namespace vkcomm
