// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/hard_formats.h"

namespace {

constexpr std::string_view kOfFilms = "video_codec";
constexpr std::string_view kOfSound = "codec";
constexpr std::string_view kOfPictures;

constexpr HardFormat kHardFormats[] = {
    {"H.265 (HEVC)", "many browsers, televisions before about 2016", kOfFilms, "hevc", ""},
    {"AV1", "televisions, phones and players before about 2021", kOfFilms, "av1", ""},
    {"MPEG-4 part 2 (DivX, Xvid)", "browsers, phones", kOfFilms, "mpeg4", "divx xvid"},
    {"MPEG-1 and MPEG-2", "browsers, phones", kOfFilms, "mpeg1video mpeg2video", "vob"},
    {"Windows Media Video", "browsers, phones, many televisions", kOfFilms, "wmv1 wmv2 wmv3 vc1", "wmv"},
    {"DivX 3", "nearly all but programs on computers", kOfFilms, "msmpeg4v1 msmpeg4v2 msmpeg4v3", ""},
    {"RealVideo", "nearly all but programs on computers", kOfFilms, "rv10 rv20 rv30 rv40", "rm rmvb"},
    {"Flash video", "nearly all but programs on computers", kOfFilms, "flv1 vp6f vp6 flashsv", "flv swf"},
    {"old QuickTime and AVI codecs", "nearly all but programs on computers", kOfFilms,
     "svq1 svq3 cinepak indeo3 indeo4 indeo5 qtrle rpza smc theora", ""},
    {"formats for cutting", "televisions, phones, browsers", kOfFilms,
     "dvvideo prores mjpeg dnxhd ffv1 huffyuv rawvideo", ""},
    {"DTS and TrueHD", "browsers and many televisions, which give no sound", kOfSound, "dts truehd mlp", ""},
    {"Windows Media Audio", "browsers, phones, many network players", kOfSound,
     "wmav1 wmav2 wmapro wmalossless wmavoice", "wma"},
    {"Apple Lossless", "most browsers", kOfSound, "alac", ""},
    {"Monkey's Audio, WavPack, TTA, TAK", "browsers, phones, most network players", kOfSound,
     "ape wavpack tta tak shorten", "ape wv tta tak"},
    {"Musepack", "browsers, phones, most network players", kOfSound, "musepack7 musepack8", "mpc mpp"},
    {"DSD", "browsers, phones, most network players", kOfSound,
     "dsd_lsbf dsd_msbf dsd_lsbf_planar dsd_msbf_planar dst", "dsf dff"},
    {"RealAudio", "nearly all but programs on computers", kOfSound, "cook ra_144 ra_288 sipr atrac3", "ra"},
    {"HEIC and HEIF", "browsers, Windows as it comes", kOfPictures, "", "heic heif"},
    {"JPEG XL and JPEG 2000", "most browsers, televisions", kOfPictures, "", "jxl jp2"},
    {"TIFF and PSD", "browsers, televisions, phones", kOfPictures, "", "tif tiff psd"},
    {"raw photos", "all but programs for photos", kOfPictures, "",
     "arw cr2 cr3 crw dcr dng erf kdc mef mos mrw nef nrw orf pef raf raw rw2 sr2 srf srw x3f"},
};

} // namespace

std::span<const HardFormat> HardFormats() {
    return kHardFormats;
}
