// Prints the positions in a recording of NMEA sentences: positions < recording
#include <vkcomm/vkcomm.h>

#include <cstdio>

int main() {
    vkcomm::CNOut decoder;
    vkcomm::CNmeaFormat nmea;
    decoder.vSetDecodeMask(vkcomm::kDecodeSentence);

    const auto onRecord = [&] {
        if (decoder.Type() != vkcomm::LOG_NMEA || vkcomm::nmeaFormatter(decoder.Id()) != vkcomm::kNmeaGga)
            return;
        if (!nmea.bProcessGGA(decoder.Get())) return;
        const vkcomm::NmeaFix& fix = nmea.Fix();
        std::printf("%02d:%02d:%05.2f  %.9f rad  %.9f rad  %.3f m  quality %d\n", nmea.Time().hour,
                    nmea.Time().minute, nmea.Time().second, fix.position.latitude, fix.position.longitude,
                    fix.position.height, fix.quality);
    };

    unsigned char bytes[4096];
    while (const std::size_t count = std::fread(bytes, 1, sizeof bytes, stdin)) {
        decoder.Set(bytes, static_cast<int>(count));
        while (decoder.Read() == vkcomm::CNOut::RETURN_COMPLETE)
            onRecord();
    }
    while (decoder.ReadRest() == vkcomm::CNOut::RETURN_COMPLETE)
        onRecord();
}
