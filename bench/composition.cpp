// Composing a picture of ten layers, on one thread and on two.
#include "bench/picture.h"
#include "bench/threads.h"
#include "torvi/ids_formats.h"
#include "torvi/ids_keys.h"

namespace torvi::bench
{

namespace
{

constexpr Int LAYER_COUNT = 10;

/// An opaque layer and nine with noise for alpha on it, every other one of them half opaque as a whole; all of full size and different.
class LayeredPicture
{
public:
	static Result<LayeredPicture> Make(Int side)
	{
		LayeredPicture picture;
		picture._side = side;
		picture._format = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
		picture._image = TORVI_TRY(CreateObject<ImageInterface>(ids::IMAGECLASS_IMAGE));
		const ClassRef noData = TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NODATA));
		TORVI_TRY(picture._image->Init(side, side, noData, picture._format, {}));
		const Array<Byte> noise = TORVI_TRY(MakePixels(picture._format, side + LAYER_COUNT));
		for (Int i = 0; i < LAYER_COUNT; ++i)
			TORVI_TRY(picture.AddLayer(i, Array<Byte>(noise.begin() + 4 * i, noise.begin() + 4 * (side + i))));
		return picture;
	}

	Int GetSide() const { return _side; }
	BITS GetStride() const { return _format->GetBitsPerPixel(); }
	Array<Byte> MakeLine() const { return MakeMemory(_format, _side); }

	Result<GetPixelHandlerStruct> Open() const { return Open(*_image); }
	/// The layers one by one, in the picture's format.
	Result<Array<GetPixelHandlerStruct>> OpenLayers() const
	{
		Array<GetPixelHandlerStruct> readers;
		for (const ImageBaseRef& layer : GetImageChildren(*_image, IMAGEHIERARCHY::LAYER))
			readers.push_back(TORVI_TRY(Open(*layer)));
		return readers;
	}

private:
	Result<GetPixelHandlerStruct> Open(ImageBaseInterface& image) const
	{
		return image.GetPixelHandler(_format, _format->GetChannelOffsets(), ColorProfile(), GETPIXELHANDLERFLAGS::NONE, nullptr);
	}

	Result<void> AddLayer(Int number, Array<Byte> line)
	{
		for (std::size_t alpha = 3; number == 0 && alpha < line.size(); alpha += 4)
			line[alpha] = 255;
		const auto layer = TORVI_TRY(CreateObject<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER));
		const ClassRef storage = TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL));
		TORVI_TRY(layer->Init(_side, _side, storage, _format, {}));
		if (number % 2 == 1)
			TORVI_TRY(layer->Set<Float64>(ids::IMAGE_LAYER_OPACITY, 0.5));
		SetPixelHandlerStruct writer =
			TORVI_TRY(layer->SetPixelHandler(_format, _format->GetChannelOffsets(), ColorProfile(), SETPIXELHANDLERFLAGS::NONE));
		for (Int y = 0; y < _side; ++y)
			TORVI_TRY(writer.SetLine({0, y, _side}, PixelBuffer(line.data(), GetStride()), 0));
		TORVI_TRY(writer.Free());
		return _image->AddChildren(IMAGEHIERARCHY::LAYER, layer, {});
	}

	Int _side = 0;
	PixelFormat _format;
	ImageRef _image;
};

/// Against reading the lines of all layers without composing them; in nanoseconds per pixel of a layer.
Result<void> ComposeLines(benchmark::State& state, Int side, double seconds)
{
	const LayeredPicture picture = TORVI_TRY(LayeredPicture::Make(side));
	const GetPixelHandlerStruct reader = TORVI_TRY(picture.Open());
	const Array<GetPixelHandlerStruct> layers = TORVI_TRY(picture.OpenLayers());
	Array<Byte> line = picture.MakeLine();
	const PixelBuffer buffer(line.data(), picture.GetStride());
	const double pixels = static_cast<double>(LAYER_COUNT * side);
	Int composed = 0;
	const auto compose = [&]() { return reader._getLine({0, composed++ % side, side}, buffer, 0); };
	Int read = 0;
	const auto readLayers = [&]() -> Result<void>
	{
		const Int y = read++ % side;
		for (const GetPixelHandlerStruct& layer : layers)
			TORVI_TRY(layer._getLine({0, y, side}, buffer, 0));
		return OK;
	};
	return CompareByTurns(state, seconds, Task{compose, pixels}, Task{readLayers, pixels});
}

/// Each thread reads its half of the picture through a handler of its own.
Result<void> ComposeBands(benchmark::State& state, Int side, double seconds)
{
	constexpr Int THREADS = 2;
	const LayeredPicture picture = TORVI_TRY(LayeredPicture::Make(side));
	Array<GetPixelHandlerStruct> readers;
	Array<Array<Byte>> lines;
	for (Int i = 0; i < THREADS; ++i)
	{
		readers.push_back(TORVI_TRY(picture.Open()));
		lines.push_back(picture.MakeLine());
	}
	const Int band = side / THREADS;
	const auto compose = [&](Int thread, Int call)
	{
		const auto i = static_cast<std::size_t>(thread);
		return readers[i]._getLine({0, thread * band + call % band, side}, PixelBuffer(lines[i].data(), picture.GetStride()), 0);
	};
	return CompareWithOneThread(state, seconds, seconds > 0.0 ? 50 : 1, compose);
}

} // namespace

void AddComposition(const Options& options)
{
	const auto add = [&](const char* name, auto function)
	{
		AddRounds(name, options, 1.0,
				  [function, side = options._pictureSide](benchmark::State& state, double seconds)
				  { return function(state, side, seconds); });
	};
	add("composition/ten-layers", &ComposeLines);
	add("composition/two-threads", &ComposeBands);
}

} // namespace torvi::bench
