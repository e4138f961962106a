// Runs of a whole machinery that are timed once, where a benchmark times one step again and again.
//
// Each prints its figures and gives false when something was lost, out of order or left behind. A missed aim of
// speed is shown only: a machine may be slow.
#pragma once

namespace vkcomm::bench {

// A short run takes a few seconds.
enum class Length { kFull, kShort };

bool portLatency(Length length);
bool manyPorts(Length length);
bool writeQueue(Length length);
bool openAndClose(Length length);
bool corrections(Length length);
bool roads(Length length);
bool relays(Length length);

void figure(const char* what, double value, const char* unit);
// The same with an aim that the value shall not pass.
void figure(const char* what, double value, const char* unit, double aim);
// A condition that the scenario fails without; it is printed only then. Gives isSo.
bool expect(bool isSo, const char* what);

}  // namespace vkcomm::bench
