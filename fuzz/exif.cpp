// Reading of EXIF data, as a block or inside a JPEG file.
#include "torvi/exif.h"
#include "host/iomemory.h"
#include "torvi/module.h"

#include <cstdlib>

namespace
{

using namespace torvi;

Result<ExifRef> OpenExif(const ExifStaticInterface& service, Block<const Byte> data)
{
	if (data.size() < 2 || data[0] != 0xFF || data[1] != 0xD8)
		return service.OpenFromMemory(data);
	const Ref<IoMemory> file = TORVI_TRY(NewObject<IoMemory>(Array<Byte>(data.begin(), data.end())));
	return service.OpenJpgFromUrl(TORVI_TRY(file->GetUrl()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const Byte* data, std::size_t size)
{
	static const ModuleScope module;
	const auto service = CreateObject<ExifStaticInterface>(ids::CLASS_EXIFSTATIC);
	if (!service.IsOk())
		std::abort();
	(void)OpenExif(*service.GetValue(), {data, size});
	return 0;
}
