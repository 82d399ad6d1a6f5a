// The loop over chunks.
#include "color/staged_conversion.h"

namespace torvi
{

namespace
{

constexpr Int LARGEST_SCRATCH = 8192; // bytes on the stack for each side

class StagedConversion final : public ObjectInterface
{
public:
	StagedConversion(PackingStage before, ConvertRunFunc engine, PackingStage after)
		: _before(std::move(before)), _engine(std::move(engine)), _after(std::move(after))
	{
	}

	Result<void> Run(const PixelBuffer& source, const PixelBuffer& destination, Int count) const
	{
		alignas(64) Byte sourceBytes[LARGEST_SCRATCH];
		alignas(64) Byte destinationBytes[LARGEST_SCRATCH];
		const PixelBuffer packedSource(sourceBytes, _before._bits), packedDestination(destinationBytes, _after._bits);
		return ConvertInChunks(source, destination, count, CHUNK_PIXELS,
							   [&](const PixelBuffer& from, const PixelBuffer& to, Int chunk) -> Result<void>
							   {
								   if (_before._convert)
									   TORVI_TRY(_before._convert(packedSource, chunk, from, 0));
								   TORVI_TRY(
									   _engine(_before._convert ? packedSource : from, _after._convert ? packedDestination : to, chunk));
								   return _after._convert ? _after._convert(to, chunk, packedDestination, 0) : Result<void>(OK);
							   });
	}

private:
	PackingStage _before;
	ConvertRunFunc _engine;
	PackingStage _after;
};

} // namespace

Result<ConvertRunFunc> MakeStagedConversion(PackingStage before, ConvertRunFunc engine, PackingStage after)
{
	const BITS largest = std::max(before._bits, after._bits);
	TORVI_CHECK(largest * CHUNK_PIXELS <= LARGEST_SCRATCH * 8,
				UnsupportedOperationError("Pixels of @ bits are too large for a conversion of colors.", largest));
	auto staged = TORVI_TRY(NewObject<StagedConversion>(std::move(before), std::move(engine), std::move(after)));
	return ConvertRunFunc([staged](const PixelBuffer& source, const PixelBuffer& destination, Int count)
						  { return staged->Run(source, destination, count); });
}

} // namespace torvi
