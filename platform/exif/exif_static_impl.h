// The service that parses EXIF data, behind the interface that importers ask for.
#pragma once

#include "torvi/exif.h"

namespace torvi
{

class ExifStaticImpl final : public ExifStaticInterface
{
public:
	Result<ExifRef> OpenFromMemory(Block<const Byte> data) const override;
	Result<ExifRef> OpenJpgFromUrl(const Url& url) const override;
};

} // namespace torvi
