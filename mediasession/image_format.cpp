// The class that the file formats of pictures are built from.
#include "mediasession/image_format.h"

namespace torvi
{

Result<void> RegisterFileFormatImageBase(Module& module)
{
	TORVI_TRY(module.AddClass<FileFormatImageBaseImpl>(ids::CLASS_FILEFORMATIMAGEBASE, ids::CLASS_FILEFORMATBASE));
	return OK;
}

} // namespace torvi
