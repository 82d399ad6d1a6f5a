// Indexed formats with a table of their own.
#include "mediasession/image_palette.h"

#include "host/stream.h"

namespace torvi
{

Result<PixelFormat> MakePaletteFormat(const PixelFormat& indexed, const PixelFormat& entryFormat, Int count, Block<const Byte> entries,
									  Int strideInBytes)
{
	TORVI_CHECK(indexed && entryFormat && indexed->GetClass() != nullptr, NullptrError());
	const Int neededBytes = count > 0 ? (count - 1) * strideInBytes + BytesOf(entryFormat->GetBitsPerPixel()) : 0;
	TORVI_CHECK(neededBytes <= CountOf(entries), EndOfDataError(neededBytes - CountOf(entries)));
	const PixelFormat format = TORVI_TRY(indexed->GetClass()->Create<PixelFormatInterface>());
	const PixelFormatIndexedColorRef palette = Cast<PixelFormatIndexedColorInterface>(format);
	TORVI_CHECK(palette, IllegalArgumentError("A palette needs an indexed pixel format."));
	TORVI_TRY(palette->InitColorTable(count, entryFormat));
	const ChannelOffsets& offsets = entryFormat->GetChannelOffsets();
	for (Int i = 0; i < count; ++i)
	{
		const Byte* entry = entries.data() + i * strideInBytes;
		TORVI_TRY(palette->SetIndex(i, PixelBuffer(entry, entryFormat->GetBitsPerPixel(), &offsets, entryFormat)));
	}
	return format;
}

} // namespace torvi
