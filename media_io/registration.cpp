// The file formats, in the order in which detection asks them.
#include "media_io/registration.h"

#include "media_io/media_io_bmp.h"
#include "media_io/media_io_jpg.h"
#include "media_io/media_io_png.h"
#include "media_io/media_io_psd.h"

namespace torvi
{

namespace
{

constexpr RegistrationStep STEPS[] = {
	{"base of picture file formats", &RegisterFileFormatImageBase},
	{"BMP", &RegisterImageFormat<BMP_FORMAT>},
	{"PNG", &RegisterImageFormat<PNG_FORMAT>},
	{"streams and library of PNG", &RegisterPngStreamsAndLibrary},
	{"JPEG", &RegisterImageFormat<JPG_FORMAT>},
	{"streams and library of JPEG", &RegisterJpgStreamsAndLibrary},
	{"streams of PSD and PSB", &RegisterPsdStreams},
	{"PSD", &RegisterImageFormat<PSD_FORMAT>},
	{"PSB", &RegisterImageFormat<PSB_FORMAT>},
};

} // namespace

Result<void> RegisterMediaFormats(Module& module)
{
	return RunRegistration(module, STEPS);
}

} // namespace torvi
