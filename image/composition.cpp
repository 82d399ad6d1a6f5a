// The merged handler. It composes runs of 64 pixels in float: each layer is read into a scratch run and blended into the accumulator, masks
// are applied to the accumulator, and one conversion takes the result to the caller. No buffer is larger than a run.
#include "image/composition.h"

#include "image/gfx_imageimpl.h"
#include "image/pixel_memory.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"

#include <algorithm>
#include <array>

namespace torvi
{

namespace
{

constexpr Int RUN_LENGTH = 64; // pixels

/// Sets the bits of a run to 0 that has no gaps, and leaves the bits behind it alone.
void ClearBits(Byte* bytes, BITS count)
{
	std::memset(bytes, 0, static_cast<std::size_t>(count / 8));
	if (count % 8 != 0)
		bytes[count / 8] = static_cast<Byte>(bytes[count / 8] & (0xFF >> (count % 8)));
}

void ClearPixels(const PixelBuffer& destination, Int count, BITS bitsPerPixel)
{
	if (count <= 0)
		return;
	if (destination._stride == bitsPerPixel)
		return ClearBits(destination._pixel, count * bitsPerPixel);
	for (Int i = 0; i < count; ++i)
		std::memset(destination._pixel + BytesOf(i * destination._stride), 0, static_cast<std::size_t>(BytesOf(bitsPerPixel)));
}

/// One pixel of a merge's formats, the largest of which is rgba.f64. New pixels are zero.
using PixelBytes = std::array<Byte, 32>;

/// A run of pixels that a merge works in.
class ScratchRun
{
public:
	Result<void> Init(const PixelFormat& format)
	{
		_bytes.reset(TORVI_TRY(format->CreatePix(RUN_LENGTH, 1, 1)));
		_bytesPerPixel = BytesOf(format->GetBitsPerPixel());
		_buffer = PixelBuffer(_bytes.get(), format->GetBitsPerPixel());
		return OK;
	}

	const PixelBuffer& GetBuffer() const { return _buffer; }
	PixelBuffer GetBuffer(Int first) const { return PixelBuffer(_buffer._pixel + first * _bytesPerPixel, _buffer._stride); }
	void Fill(Int first, Int end, const PixelBytes& pixel) const
	{
		for (Int i = first; i < end; ++i)
			std::memcpy(_buffer._pixel + i * _bytesPerPixel, pixel.data(), static_cast<std::size_t>(_bytesPerPixel));
	}

private:
	OwnedBytes _bytes;
	Int _bytesPerPixel = 0;
	PixelBuffer _buffer;
};

/// Where the pixels of a layer or mask lie in the picture, and what stands around them.
struct Placement
{
	Int _x = 0;
	Int _y = 0;
	Int _width = 0;
	Int _height = 0;
	PixelBytes _around = {};
};

/// How far `position` lies behind `origin`; the nearest number where that is too far to count.
Int Distance(Int position, Int origin)
{
	Int distance = 0;
	if (__builtin_sub_overflow(position, origin, &distance)) [[unlikely]]
		return position < origin ? INT64_MIN : INT64_MAX;
	return distance;
}

/// A layer or mask of a merge.
struct LayerMergeRecord
{
	/// Reads a run of the picture; what lies beside the layer's own pixels is `_around`.
	Result<void> Read(const ImagePos& run, const ScratchRun& destination, UInt32 flags) const
	{
		if (_isFolder)
			return _handler._getLine(run, destination.GetBuffer(), flags);
		const Int x = Distance(run._x, _place._x);
		const Int y = Distance(run._y, _place._y);
		const Int first = x >= 0 ? 0 : x > -run._count ? -x : run._count;
		const Bool isOnLine = y >= 0 && y < _place._height && _handler._getLine;
		const Int count = isOnLine ? std::clamp<Int>(_place._width - std::max<Int>(x, 0), 0, run._count - first) : 0;
		destination.Fill(0, first, _place._around);
		destination.Fill(first + count, run._count, _place._around);
		return count > 0 ? _handler._getLine({x + first, y, count}, destination.GetBuffer(first), flags) : Result<void>(OK);
	}

	ImageBaseRef _layer;
	ImagePixelBlend _blendMode;
	Float64 _opacity = 1.0;
	GetPixelHandlerStruct _handler; ///< in the merge's format
	BlendPixelHandler _blend;
	Placement _place;
	Bool _isFolder = false; ///< has no pixels of its own, and reaches as far as its layers
};

Result<ImagePixelBlend> FindBlendMode(const Id& id)
{
	ImagePixelBlend mode = FindDeclared<ImagePixelBlendInterface>(id);
	TORVI_CHECK(mode, IllegalStateError("There is no blend mode @.", id));
	return mode;
}

/// One pixel of an alpha format, from its value in 8 bits.
Result<PixelBytes> MakeAlphaPixel(const PixelFormat& format, UChar value)
{
	const PixelFormat alpha8 = GetPixelFormat(ids::PIXELFORMAT_ALPHA_U8);
	PixelBytes pixel = {};
	const PixelBuffer destination(pixel.data(), format->GetBitsPerPixel(), &format->GetChannelOffsets(), format);
	const PixelBuffer source(&value, alpha8->GetBitsPerPixel(), &alpha8->GetChannelOffsets(), alpha8);
	TORVI_TRY(format->ConvertPixelFromSlow(destination, 1, source, nullptr, nullptr, false, 0));
	return pixel;
}

/// What a merged handler works on.
class MergedReader final : public ObjectInterface
{
public:
	/// Makes `dstProfile` the profile of the delivered pixels.
	Result<void> Init(const MergeRequest& request, ColorProfile& dstProfile);
	Result<void> Read(const ImagePos& pos, const PixelBuffer& destination, UInt32 flags);

private:
	Result<void> AddLayer(const ImageBaseRef& layer, const ImageBaseRef& parent, GETPIXELHANDLERFLAGS flags);
	Result<void> AddMasks(const ImageBaseInterface& parent, GETPIXELHANDLERFLAGS flags);
	Result<void> AddMask(const ImageBaseRef& mask, const PixelFormat& alphaFormat, GETPIXELHANDLERFLAGS flags);
	Result<void> OpenRecord(LayerMergeRecord& record, const PixelFormat& format, GETPIXELHANDLERFLAGS flags) const;
	Result<void> FindLastStep(const MergeRequest& request, ColorProfile& dstProfile);
	Result<void> ComposeRun(const ImagePos& run, UInt32 flags);

	PixelFormat _format;
	Array<LayerMergeRecord> _layers;
	Array<LayerMergeRecord> _masks;
	ScratchRun _accumulator;
	ScratchRun _layerLine;
	ScratchRun _alphaLine; ///< only with masks
	ConvertPixelFunc _lastStep;
};

Result<void> MergedReader::Init(const MergeRequest& request, ColorProfile& dstProfile)
{
	_format = TORVI_TRY(GetOptimalPixelFormat(Block<const PixelFormat>(&request._dstFormat, 1)));
	const GETPIXELHANDLERFLAGS flags = request._flags & GETPIXELHANDLERFLAGS::NOMASKS;
	_layers.reserve(request._layers.size());
	for (const ImageBaseRef& layer : request._layers)
		TORVI_TRY(AddLayer(layer, request._parent, flags));
	TORVI_TRY(_accumulator.Init(_format));
	TORVI_TRY(_layerLine.Init(_format));
	if (request._withMasks)
		TORVI_TRY(AddMasks(*request._parent, flags));
	return FindLastStep(request, dstProfile);
}

/// The reader and the blend function of a record whose layer, mode and opacity are set. Colours are not converted: that is the last step's.
Result<void> MergedReader::OpenRecord(LayerMergeRecord& record, const PixelFormat& format, GETPIXELHANDLERFLAGS flags) const
{
	const ChannelOffsets& offsets = format->GetChannelOffsets();
	record._handler = TORVI_TRY(record._layer->GetPixelHandler(format, offsets, ColorProfile(), flags, nullptr));
	record._blend =
		TORVI_TRY(record._blendMode->GetBlendPixelHandler(_format, _format->GetChannelOffsets(), format, offsets, record._opacity));
	record._place._width = record._layer->GetWidth();
	record._place._height = record._layer->GetHeight();
	return OK;
}

/// Mode and opacity say how a layer goes into what shows it. An image that shows itself through its masks is not yet there: whoever reads
/// it blends it by them.
Result<void> MergedReader::AddLayer(const ImageBaseRef& layer, const ImageBaseRef& parent, GETPIXELHANDLERFLAGS flags)
{
	LayerMergeRecord record;
	record._layer = layer;
	if (layer != parent)
	{
		record._blendMode = TORVI_TRY(ReadOr<ImagePixelBlend>(*layer, ids::IMAGE_LAYER_BLENDMODE, {}));
		record._opacity = TORVI_TRY(ReadOr<Float64>(*layer, ids::IMAGE_LAYER_OPACITY, 1.0));
	}
	if (!record._blendMode)
		record._blendMode = TORVI_TRY(FindBlendMode(ids::BLENDMODE_OVER));
	TORVI_TRY(OpenRecord(record, _format, flags));
	record._isFolder = ImageImpl::ShowsLayers(*layer);
	_layers.push_back(std::move(record));
	return OK;
}

Result<void> MergedReader::AddMasks(const ImageBaseInterface& parent, GETPIXELHANDLERFLAGS flags)
{
	const PixelFormat alphaFormat = TORVI_TRY(_format->GetAlphaPixelFormat())._format;
	for (const ImageBaseRef& mask : GetImageChildren(parent, IMAGEHIERARCHY::MASK))
	{
		if (TORVI_TRY(ReadOr<Bool>(*mask, ids::IMAGE_LAYER_ENABLED, true)))
			TORVI_TRY(AddMask(mask, alphaFormat, flags));
	}
	return _masks.empty() ? Result<void>(OK) : _alphaLine.Init(alphaFormat);
}

/// Masks come in the size of their own rectangle and say where in the picture it lies.
Result<void> MergedReader::AddMask(const ImageBaseRef& mask, const PixelFormat& alphaFormat, GETPIXELHANDLERFLAGS flags)
{
	LayerMergeRecord record;
	record._layer = mask;
	record._blendMode = TORVI_TRY(FindBlendMode(ids::BLENDMODE_APPLYALPHA));
	record._place._x = TORVI_TRY(ReadOr<Int>(*mask, ids::IMAGE_LAYER_BOUNDINGBOX_X, 0));
	record._place._y = TORVI_TRY(ReadOr<Int>(*mask, ids::IMAGE_LAYER_BOUNDINGBOX_Y, 0));
	const UChar around = TORVI_TRY(ReadOr<UChar>(*mask, ids::IMAGE_LAYER_MASKDEFCOLOR, 0));
	record._place._around = TORVI_TRY(MakeAlphaPixel(alphaFormat, around));
	TORVI_TRY(OpenRecord(record, alphaFormat, flags));
	_masks.push_back(std::move(record));
	return OK;
}

/// Colours are those of the parent's profile. A profile that does not fit the format of the merge, such as that of a grey picture, says
/// nothing about them: they stay as they are, unless the caller wants a profile, and then they count as sRGB.
Result<void> MergedReader::FindLastStep(const MergeRequest& request, ColorProfile& dstProfile)
{
	ColorProfile profile = TORVI_TRY(request._parent->Get<ColorProfile>(ids::IMAGE_COLORPROFILE));
	Bool forceProfiles = HasFlag(request._flags, GETPIXELHANDLERFLAGS::FORCECOLORPROFILECONVERSION);
	const ColorSpace colorSpace = profile.GetColorSpace();
	if (colorSpace && colorSpace != _format->GetColorSpace())
	{
		forceProfiles = forceProfiles && !dstProfile.IsEmpty();
		profile = forceProfiles ? GetBuiltInColorProfile(ids::COLORPROFILE_SRGB) : ColorProfile();
	}
	Bool isColorConverted = false;
	_lastStep =
		TORVI_TRY(request._dstFormat->GetConvertPixelFunc(_format, _format->GetChannelOffsets(), request._dstFormat->GetChannelOffsets(),
														  &profile, &dstProfile, forceProfiles, isColorConverted));
	return OK;
}

Result<void> MergedReader::Read(const ImagePos& pos, const PixelBuffer& destination, UInt32 flags)
{
	Int end = 0;
	TORVI_CHECK(!__builtin_add_overflow(pos._x, pos._count, &end),
				IllegalArgumentError("A run of @ pixels at (@, @) does not lie in any picture.", pos._count, pos._x, pos._y));
	PixelBuffer pixels = destination;
	for (ImagePos run = {pos._x, pos._y, 0}; run._x < end; run._x += run._count)
	{
		run._count = std::min(RUN_LENGTH, end - run._x);
		TORVI_TRY(ComposeRun(run, flags));
		TORVI_TRY(_lastStep(pixels, run._count, _accumulator.GetBuffer(), 0));
		pixels._pixel += BytesOf(RUN_LENGTH * pixels._stride);
	}
	return OK;
}

/// An opaque bottom layer goes straight into the accumulator.
Result<void> MergedReader::ComposeRun(const ImagePos& run, UInt32 flags)
{
	const PixelBuffer& picture = _accumulator.GetBuffer();
	auto layer = _layers.begin();
	if (layer->_opacity == 1.0)
		TORVI_TRY((layer++)->Read(run, _accumulator, flags));
	else
		_accumulator.Fill(0, run._count, PixelBytes{});
	for (; layer != _layers.end(); ++layer)
	{
		TORVI_TRY(layer->Read(run, _layerLine, flags));
		TORVI_TRY(layer->_blend._blend(picture, picture, _layerLine.GetBuffer(), run._count));
	}
	for (const LayerMergeRecord& mask : _masks)
	{
		TORVI_TRY(mask.Read(run, _alphaLine, flags));
		TORVI_TRY(mask._blend._blend(picture, picture, _alphaLine.GetBuffer(), run._count));
	}
	return OK;
}

/// Counts the merges of this thread that are being made inside of each other: the layers of a merge may be merges themselves, and trees are
/// as deep as their makers want.
class NestingLevel
{
public:
	NestingLevel() noexcept { ++s_level; }
	NestingLevel(const NestingLevel&) = delete;
	NestingLevel& operator=(const NestingLevel&) = delete;
	~NestingLevel() { --s_level; }

	Bool IsTooDeep() const noexcept { return s_level > LAYER_NESTING_LIMIT; }

private:
	static inline thread_local Int s_level = 0;
};

GetPixelHandlerStruct MakeEmptyPicture(BITS bitsPerPixel)
{
	GetPixelHandlerStruct record;
	record._getLine = [bitsPerPixel](const ImagePos& pos, const PixelBuffer& destination, UInt32) -> Result<void>
	{
		ClearPixels(destination, pos._count, bitsPerPixel);
		return OK;
	};
	return record;
}

Result<GetPixelHandlerStruct> MakePicture(const MergeRequest& request, ColorProfile& dstProfile)
{
	const NestingLevel level;
	TORVI_CHECK(!level.IsTooDeep(), IllegalStateError("The layers of a picture are nested in more than @ levels.", LAYER_NESTING_LIMIT));
	const Ref<MergedReader> reader = TORVI_TRY(NewObject<MergedReader>());
	TORVI_TRY(reader->Init(request, dstProfile));
	GetPixelHandlerStruct record;
	record._getLine = [reader](const ImagePos& pos, const PixelBuffer& destination, UInt32 flags)
	{ return reader->Read(pos, destination, flags); };
	return record;
}

} // namespace

Result<GetPixelHandlerStruct> MakeMergedHandler(const MergeRequest& request)
{
	TORVI_CHECK(request._dstFormat, IllegalArgumentError("Pixels can not be read without a pixel format."));
	ColorProfile dstProfile = request._dstColorProfile;
	GetPixelHandlerStruct record =
		request._layers.empty() ? MakeEmptyPicture(request._dstFormat->GetBitsPerPixel()) : TORVI_TRY(MakePicture(request, dstProfile));
	record._dstColorProfile = std::move(dstProfile);
	record._freeHandler = [parent = request._parent](GetPixelHandlerStruct& ended) { return parent->FreePixelHandler(ended); };
	return record;
}

} // namespace torvi
