// Reading of EXIF data, as a block or inside a JPEG file.
#include "torvi/exif.h"
#include "fuzz/target.h"

namespace torvi::fuzz
{

namespace
{

Result<ExifRef> OpenExif(const ExifStaticInterface& service, Block<const Byte> data)
{
	if (data.size() < 2 || data[0] != 0xFF || data[1] != 0xD8)
		return service.OpenFromMemory(data);
	return service.OpenJpgFromUrl(MakeFile(data));
}

} // namespace

} // namespace torvi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const torvi::Byte* data, std::size_t size)
{
	using namespace torvi;
	fuzz::PrepareModule();
	const auto service = CreateObject<ExifStaticInterface>(ids::CLASS_EXIFSTATIC);
	fuzz::Require(service.IsOk(), "EXIF data can be read.");
	static_cast<void>(fuzz::OpenExif(*service.GetValue(), {data, size}));
	return 0;
}
