// Every allocation fails once: operations give the out-of-memory error, leave no half-made state and leak nothing (which the address
// sanitizer checks).
#include "tests/image/composition_fixture.h"
#include "tests/support/allocation_failure.h"

#include <functional>

namespace torvi
{

namespace
{

using enum IMAGEHIERARCHY;

class AllocationTest : public CompositionTest
{
protected:
	/// Runs the operation with each of its allocations failing; gives how many it has. Each run has its own preparation.
	template <class State>
	static Int FailEach(const std::function<State()>& prepare, const std::function<Result<void>(State&)>& operation,
						const std::function<void(State&)>& checkFailure = {})
	{
		State state = prepare();
		return test::ForEachAllocationFailure([&]() { return operation(state); },
											  [&](const Result<void>& result, Bool hasFailed)
											  {
												  EXPECT_EQ(result.IsOk(), !hasFailed);
												  EXPECT_TRUE(result.IsOk() || result.GetError().GetId() == errorids::OUTOFMEMORY);
												  if (hasFailed && checkFailure)
													  checkFailure(state);
												  state = prepare();
											  });
	}
};

TEST_F(AllocationTest, Init)
{
	const ClassRef storageClass = StorageClass();
	const PixelFormat rgb = GetPixelFormat(ids::PIXELFORMAT_RGB_U8);
	const Int failures =
		FailEach<ImageRef>([]() { return MakeImage(4, 4); }, [&](ImageRef& image) { return image->Init(9, 9, storageClass, rgb, {}); },
						   [](ImageRef& image) { EXPECT_EQ(image->GetChannelCount(), 0) << "no storage is left"; });
	EXPECT_GE(failures, 3) << "object, offsets, pixels";
}

TEST_F(AllocationTest, WritingToAClone)
{
	struct Pair
	{
		ImageRef _image;
		ImageRef _clone;
	};
	const PixelFormat grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
	const Int failures = FailEach<Pair>(
		[]()
		{
			const ImageRef image = MakeImage(1, 1);
			WriteBytes(*image, {0, 0, 1}, {5});
			return Pair{image, Cast<ImageInterface>(Must(image->CloneObject()))};
		},
		[&](Pair& pair) -> Result<void>
		{
			SetPixelHandlerStruct handler =
				TORVI_TRY(pair._clone->SetPixelHandler(grey, grey->GetChannelOffsets(), {}, SETPIXELHANDLERFLAGS::NONE));
			const Byte pixel = 6;
			TORVI_TRY(handler.SetLine({0, 0, 1}, PixelBuffer(&pixel, 8), 0));
			return handler.Free();
		},
		[](Pair& pair)
		{
			EXPECT_EQ(ReadBytes(*pair._image, {0, 0, 1})[0], 5);
			EXPECT_EQ(ReadBytes(*pair._clone, {0, 0, 1})[0], 5);
		});
	EXPECT_GE(failures, 3) << "storage, offsets, pixels";
}

TEST_F(AllocationTest, ComposingASelection)
{
	const String name = MakeString("a name that does not fit into a short text");
	const ImageLayerRef folder = MakeFolder(1, 1);
	Hang(folder, LAYER, MakeFilled(1, 1, {1, 2, 3, 255}));
	Hang(folder, MASK, MakeMask(0, 0, 1, 1, {255}));
	const ImageRef picture = MakePicture(1, 1, {MakeFilled(1, 1, {1, 2, 3, 255}), folder});
	for (const ImageBaseRef& layer : GetImageChildren(*picture, LAYER))
		EXPECT_OK(layer->Set(ids::IMAGE_NAME, name));
	LayerSet layerSet;
	EXPECT_OK(layerSet.SetSelectedLayers({name}));
	const PixelFormat format = GetPixelFormat(ids::PIXELFORMAT_RGBA_U8);
	const auto read = [&](int&) -> Result<void>
	{
		const GetPixelHandlerStruct handler =
			TORVI_TRY(picture->GetPixelHandler(format, format->GetChannelOffsets(), {}, GETPIXELHANDLERFLAGS::NONE, &layerSet));
		Byte pixel[4] = {};
		return handler._getLine({0, 0, 1}, PixelBuffer(pixel, 32), 0);
	};
	EXPECT_GE(FailEach<int>([]() { return 0; }, read), 10) << "names, readers, records, scratch runs";
}

TEST_F(AllocationTest, AddingChildren)
{
	struct Pair
	{
		ImageRef _image;
		ImageLayerRef _layer;
	};
	FailEach<Pair>(
		[]() {
			return Pair{MakeImage(1, 1), MakeLayer("", 0)};
		},
		[](Pair& pair) { return pair._image->AddChildren(LAYER, pair._layer, {}); },
		[](Pair& pair)
		{
			EXPECT_FALSE(pair._layer->GetParent());
			EXPECT_FALSE(Must(pair._layer->ObservableRegionChanged(true))->HasObservers());
		});
}

TEST_F(AllocationTest, LayerSets)
{
	FailEach<LayerSet>([]() { return LayerSet(); },
					   [](LayerSet& layerSet) -> Result<void>
					   {
						   TORVI_TRY(layerSet.SetSelectedImage("a picture with a name that does not fit into a short text"));
						   LayerSet copy = layerSet;
						   TORVI_TRY(copy.SetMode(LAYERSETMODE::ALPHAS));
						   DataSerializeWriter writer;
						   TORVI_TRY(copy.DescribeIO(writer));
						   DataSerializeReader reader(writer.GetBytes());
						   return layerSet.DescribeIO(reader);
					   });
}

} // namespace

} // namespace torvi
