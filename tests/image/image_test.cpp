// Image objects: trees, colour profiles, sharing of storages, where pixels come from, and observation of changes.
#include "tests/image/image_test.h"
#include "host/dataserialize.h"
#include "torvi/mediasession_session.h"

#include <thread>

namespace torvi
{

namespace
{

using enum IMAGEHIERARCHY;

class ImageObjectTest : public ImageTest
{
protected:
	static ImageLayerRef MakeEmptyLayer() { return Make<ImageLayerInterface>(ids::IMAGELAYERCLASS_RASTER); }
	static Result<GetPixelHandlerStruct> Read(ImageBaseInterface& image, GETPIXELHANDLERFLAGS flags = GETPIXELHANDLERFLAGS::NONE)
	{
		const PixelFormat grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
		return image.GetPixelHandler(grey, grey->GetChannelOffsets(), {}, flags, nullptr);
	}
	static Result<SetPixelHandlerStruct> Write(ImageBaseInterface& image)
	{
		const PixelFormat grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
		return image.SetPixelHandler(grey, grey->GetChannelOffsets(), {}, SETPIXELHANDLERFLAGS::NONE);
	}
	static ColorProfile ProfileOf(const ImageBaseRef& image) { return Must(image->Get<ColorProfile>(ids::IMAGE_COLORPROFILE)); }
};

TEST_F(ImageObjectTest, ClassesAndRegistries)
{
	const struct
	{
		Id _registry, _class, _base;
	} CASES[] = {
		{ids::REGISTRY_IMAGEBASECLASSES, ids::IMAGEBASECLASS_BASE, ids::IMAGEBASECLASS_BASE},
		{ids::REGISTRY_IMAGECLASSES, ids::IMAGECLASS_IMAGE, ids::IMAGEBASECLASS_BASE},
		{ids::REGISTRY_IMAGELAYERCLASSES, ids::IMAGELAYERCLASS_RASTER, ids::IMAGECLASS_IMAGE},
		{ids::REGISTRY_IMAGETEXTURECLASSES, ids::IMAGETEXTURECLASS_TEXTURE, ids::IMAGEBASECLASS_BASE},
		{ids::REGISTRY_IMAGEPIXELSTORAGECLASSES, ids::IMAGEPIXELSTORAGECLASS_NORMAL, ids::IMAGEPIXELSTORAGECLASS_NORMAL},
		{ids::REGISTRY_IMAGEPIXELSTORAGECLASSES, ids::IMAGEPIXELSTORAGECLASS_NODATA, ids::IMAGEPIXELSTORAGECLASS_NODATA},
	};
	for (const auto& test : CASES)
	{
		const ClassRef record = Cast<Class>(Must(g_torvi->GetRegistry(test._registry))->Find(test._class));
		EXPECT_TRUE(record && record->IsSubclassOf(test._base)) << test._class.GetText();
	}
}

TEST_F(ImageObjectTest, WhatMayHangWhere)
{
	const struct
	{
		ImageBaseRef _parent;
		Array<IMAGEHIERARCHY> _layers;
		Array<IMAGEHIERARCHY> _images;
	} CASES[] = {
		{MakeTexture(), {IMAGE}, {IMAGE}},
		{MakeImage(1, 1), {ALPHA, LAYER, DEEPIMAGEDATA}, {}},
		{MakeLayer("layer", 1), {LAYER, MASK}, {}},
	};
	for (const auto& test : CASES)
	{
		for (const Int32 number : {0, 1, 2, 3, 4, 5, 6, -1})
		{
			const auto branch = static_cast<IMAGEHIERARCHY>(number);
			const auto check = [&](const ImageBaseRef& child, const Array<IMAGEHIERARCHY>& allowed)
			{
				const Bool isAllowed = std::find(allowed.begin(), allowed.end(), branch) != allowed.end();
				EXPECT_EQ(test._parent->AddChildren(branch, child, {}).GetError().GetId(), isAllowed ? Id() : errorids::ILLEGALARGUMENT)
					<< test._parent->GetClassId().GetText() << ", branch " << number;
			};
			check(MakeLayer("", 0), test._layers);
			check(MakeImage(1, 1), test._images);
			check(MakeTexture(), {});
			check({}, {});
		}
		EXPECT_ERROR(errorids::ILLEGALARGUMENT, test._parent->AddChildren(LAYER, test._parent, {}));
	}
}

TEST_F(ImageObjectTest, ChildrenStandInOrder)
{
	const ImageRef image = MakeImage(1, 1);
	const ImageLayerRef first = MakeLayer("first", 1);
	const ImageLayerRef last = MakeLayer("last", 3);
	const ImageLayerRef alpha = MakeLayer("alpha", 4);
	Hang(image, LAYER, first);
	Hang(image, ALPHA, alpha);
	Hang(image, LAYER, last);
	EXPECT_OK(image->AddChildren(LAYER, MakeLayer("middle", 2), last));
	Array<String> names;
	for (const ImageBaseRef& layer : GetImageChildren(*image, LAYER))
		names.push_back(Must(layer->Get<String>(ids::IMAGE_NAME)));
	EXPECT_EQ(names, (Array<String>{MakeString("first"), MakeString("middle"), MakeString("last")}));
	EXPECT_ERROR(errorids::ILLEGALARGUMENT, image->AddChildren(LAYER, MakeLayer("", 0), alpha));
	EXPECT_ERROR(errorids::ILLEGALARGUMENT, image->AddChildren(LAYER, MakeLayer("", 0), MakeLayer("", 0)));
}

TEST_F(ImageObjectTest, TextureIsItsFirstImage)
{
	const ImageTextureRef texture = MakeTexture();
	EXPECT_EQ(texture->GetWidth(), 0);
	EXPECT_EQ(texture->GetChannelCount(), 0);
	EXPECT_FALSE(texture->GetPixelFormat());
	EXPECT_TRUE(ProfileOf(texture).IsEmpty());
	EXPECT_EQ(Read(*texture).GetError().GetMessage(), "Illegal argument: Condition image not fulfilled. ");
	EXPECT_ERROR(errorids::ILLEGALARGUMENT, Read(*texture));
	Hang(texture, IMAGE, MakeImage(3, 2, ids::PIXELFORMAT_RGB_U8));
	Hang(texture, IMAGE, MakeImage(7, 7));
	EXPECT_EQ(texture->GetWidth(), 3);
	EXPECT_EQ(texture->GetHeight(), 2);
	EXPECT_EQ(texture->GetChannelCount(), 3);
	EXPECT_EQ(texture->GetPixelFormat(), GetPixelFormat(ids::PIXELFORMAT_RGB_U8));
	EXPECT_EQ(Must(texture->Get<Int32>(ids::IMAGE_TYPE)), static_cast<Int32>(ImageType::TEXTURE));
	EXPECT_TRUE(texture->InitIterator().empty()) << "the type is not stored";
	EXPECT_OK(Read(*texture));
	Byte byte = 0;
	EXPECT_ERROR(errorids::FUNCTIONNOTIMPLEMENTED, Write(*texture));
	EXPECT_ERROR(errorids::FUNCTIONNOTIMPLEMENTED, texture->GetComponent(0, {0, 0, 1}, &byte, 1));
	EXPECT_ERROR(errorids::FUNCTIONNOTIMPLEMENTED, texture->SetComponent(0, {0, 0, 1}, &byte, 1));
}

TEST_F(ImageObjectTest, TextureFindsPicturesByName)
{
	const ImageTextureRef texture = MakeTexture();
	const char* const NAMES[] = {"Front", "", ""};
	for (Int i = 0; i < 3; ++i)
	{
		const ImageRef image = MakeImage(1, 1);
		EXPECT_OK(image->Set<String>(ids::IMAGE_NAME, MakeString(NAMES[i])));
		EXPECT_OK(image->Set<Int>(ids::IMAGE_SUBIMAGEINDEX, i));
		WriteBytes(*image, {0, 0, 1}, {static_cast<Byte>(i)});
		Hang(texture, IMAGE, image);
	}
	const struct
	{
		const char* _selected;
		int _found;
	} CASES[] = {{"", 0}, {"Front", 0}, {"fRONT", 0}, {"#2", 1}, {"#3", 2}, {"#1", 0}, {"#4", 0}, {"#", 0}};
	for (const auto& test : CASES)
	{
		LayerSet layerSet;
		EXPECT_OK(layerSet.SetSelectedImage(test._selected));
		EXPECT_EQ(ReadSelected(*texture, layerSet), test._found) << test._selected;
	}
}

TEST_F(ImageObjectTest, ProfilesAreInherited)
{
	const ColorProfile profile = MakePlainProfile();
	const ColorProfile layerProfile = MakePlainProfile();
	const ImageTextureRef texture = MakeTexture();
	const ImageRef image = MakeImage(1, 1, ids::PIXELFORMAT_RGB_U8);
	const ImageLayerRef folder = MakeLayer("", 0);
	const ImageLayerRef layer = MakeLayer("", 0);
	Hang(texture, IMAGE, image);
	Hang(image, LAYER, folder);
	Hang(folder, LAYER, layer);
	EXPECT_OK(texture->SetData(ids::IMAGE_COLORPROFILE, Must(Data::Make(layerProfile))));
	const ColorProfile standard = GetPixelFormat(ids::PIXELFORMAT_RGB_U8)->GetDefaultColorProfile();
	EXPECT_EQ(ProfileOf(image), standard) << "nothing is inherited from a texture";
	EXPECT_OK(image->Set(ids::IMAGE_COLORPROFILE, profile));
	EXPECT_EQ(ProfileOf(layer), profile);
	EXPECT_EQ(ProfileOf(texture), profile);
	EXPECT_OK(folder->Set(ids::IMAGE_COLORPROFILE, layerProfile));
	EXPECT_EQ(ProfileOf(layer), layerProfile);
	EXPECT_OK(folder->Set(ids::IMAGE_COLORPROFILE, ColorProfile()));
	EXPECT_EQ(ProfileOf(layer), profile) << "a stored null profile is none";
	EXPECT_TRUE(ProfileOf(Make<ImageInterface>(ids::IMAGECLASS_IMAGE)).IsEmpty());
	EXPECT_TRUE(ProfileOf(Make<ImageBaseInterface>(ids::IMAGEBASECLASS_BASE)).IsEmpty());
}

TEST_F(ImageObjectTest, InitFailsToNothing)
{
	const PixelFormat grey = GetPixelFormat(ids::PIXELFORMAT_GREY_U8);
	const ImageRef image = MakeImage(2, 2);
	EXPECT_EQ(Must(image->Get<Int32>(ids::IMAGE_TYPE)), static_cast<Int32>(ImageType::IMAGE));
	EXPECT_ERROR(errorids::NULLPTR, image->Init(2, 2, {}, grey, {}));
	EXPECT_ERROR(errorids::NULLPTR, Read(*image));
	EXPECT_OK(image->Init(2, 2, StorageClass(), grey, {}));
	EXPECT_ERROR(errorids::ILLEGALARGUMENT, image->Init(2, 2, StorageClass(), {}, {}));
	EXPECT_ERROR(errorids::NULLPTR, Read(*image));
	EXPECT_ERROR(errorids::OUTOFMEMORY, Write(*image));
	Byte byte = 0;
	EXPECT_ERROR(errorids::NULLPTR, image->GetComponent(0, {0, 0, 1}, &byte, 1));
	EXPECT_ERROR(errorids::NULLPTR, image->SetComponent(0, {0, 0, 1}, &byte, 1));
	EXPECT_ERROR(errorids::NULLPTR, image->Init(2, 2, Must(g_torvi->GetClass(ids::IMAGECLASS_IMAGE)), grey, {}));
	EXPECT_EQ(image->GetChannelCount(), 0);
}

TEST_F(ImageObjectTest, ClonesShareUntilOneWrites)
{
	const ImageRef image = MakeImage(2, 1);
	const ImageRef parent = MakeImage(1, 1);
	const ImageLayerRef layer = MakeLayer("layer", 9);
	Hang(parent, LAYER, layer);
	const ImageRef layerClone = Cast<ImageInterface>(Must(layer->CloneObject()));
	EXPECT_TRUE(Cast<ImageLayerInterface>(layerClone));
	EXPECT_EQ(layerClone->GetClassId(), ids::IMAGELAYERCLASS_RASTER);
	EXPECT_FALSE(layerClone->GetParent());
	EXPECT_EQ(Must(layerClone->Get<String>(ids::IMAGE_NAME)), "layer");

	WriteBytes(*image, {0, 0, 2}, {1, 2});
	const ImageRef clone = Cast<ImageInterface>(Must(image->CloneObject()));
	WriteBytes(*clone, {0, 0, 1}, {7});
	EXPECT_EQ(ReadBytes(*image, {0, 0, 2}), (Array<Byte>{1, 2}));
	EXPECT_EQ(ReadBytes(*clone, {0, 0, 2}), (Array<Byte>{7, 2}));
	const ImageRef second = Cast<ImageInterface>(Must(image->CloneObject()));
	const Byte byte = 5;
	EXPECT_OK(image->SetComponent(0, {1, 0, 1}, &byte, 1));
	EXPECT_EQ(ReadBytes(*image, {0, 0, 2}), (Array<Byte>{1, 5}));
	EXPECT_EQ(ReadBytes(*second, {0, 0, 2}), (Array<Byte>{1, 2}));
}

// A handler keeps its storage alive but is no owner: two writers of one image write to one storage.
TEST_F(ImageObjectTest, HandlersAreNoOwners)
{
	const ImageRef image = MakeImage(2, 2);
	const GetPixelHandlerStruct early = Must(Read(*image));
	SetPixelHandlerStruct first = Must(Write(*image));
	SetPixelHandlerStruct second = Must(Write(*image));
	const Byte pixels[] = {1, 2};
	EXPECT_OK(first.SetLine({0, 0, 2}, PixelBuffer(pixels, 8), 0));
	EXPECT_OK(second.SetLine({0, 1, 2}, PixelBuffer(pixels, 8), 0));
	EXPECT_EQ(ReadBytes(*image, {0, 0, 2}), (Array<Byte>{1, 2}));
	EXPECT_EQ(ReadBytes(*image, {0, 1, 2}), (Array<Byte>{1, 2}));
	Byte read[2] = {};
	EXPECT_OK(early._getLine({0, 0, 2}, PixelBuffer(static_cast<Byte*>(read), 8), 0));
	EXPECT_EQ(read[1], 2) << "an earlier reader sees later writes";
}

TEST_F(ImageObjectTest, ThreadsWriteToACloneTogether)
{
	constexpr Int SIZE = 16;
	const ImageRef image = MakeImage(SIZE, SIZE);
	const ImageRef clone = Cast<ImageInterface>(Must(image->CloneObject()));
	const GetPixelHandlerStruct shared = Must(Read(*image));
	std::atomic<Int> faults = 0;
	const auto work = [&](Int y)
	{
		const Array<Byte> line(SIZE, static_cast<Byte>(y + 1));
		WriteBytes(*clone, {0, y, SIZE}, line);
		Array<Byte> read(SIZE, 0xEE);
		if (ReadBytes(*clone, {0, y, SIZE}) != line || !shared._getLine({0, y, SIZE}, PixelBuffer(read.data(), 8), 0).IsOk() ||
			read != Array<Byte>(SIZE))
			++faults;
	};
	{
		Array<std::jthread> threads;
		for (Int y = 0; y < SIZE; ++y)
			threads.emplace_back(work, y);
	}
	EXPECT_EQ(faults, 0);
}

/// Remembers what the observers of an image are told.
struct Heard
{
	explicit Heard(const ImageBaseRef& image) : _observable(Must(image->ObservableRegionChanged(true)))
	{
		_id = Must(_observable->AddObserver(
			[this](const ImageBaseRef& changed, const UpdateRegion& region) -> Result<void>
			{
				_images.push_back(changed);
				_regions.push_back(region);
				return OK;
			}));
	}
	Heard(const Heard&) = delete;
	~Heard() { _observable->RemoveObserver(_id); }

	RegionChangedObservableRef _observable;
	Int _id = 0;
	Array<ImageBaseRef> _images;
	Array<UpdateRegion> _regions;
};

TEST_F(ImageObjectTest, ObserversHearOfFreedHandlers)
{
	const ImageRef image = MakeImage(4, 4);
	EXPECT_FALSE(Must(image->ObservableRegionChanged(false)));
	const Heard heard(image);
	EXPECT_OK(Must(Write(*image)).Free());
	EXPECT_TRUE(heard._regions.empty()) << "nothing was written";
	const Byte pixels[4] = {};
	{
		SetPixelHandlerStruct handler = Must(Write(*image));
		EXPECT_OK(handler.SetLine({1, 1, 2}, PixelBuffer(static_cast<const Byte*>(pixels), 8), 0));
		EXPECT_OK(handler.SetLine({0, 3, 1}, PixelBuffer(static_cast<const Byte*>(pixels), 8), 0));
		EXPECT_OK(handler.SetLine({0, 0, 0}, PixelBuffer(static_cast<const Byte*>(pixels), 8), 0));
		EXPECT_TRUE(heard._regions.empty()) << "lines do not notify";
		EXPECT_OK(image->FreePixelHandler(handler));
	}
	ASSERT_EQ(heard._regions.size(), 1u) << "once, however it is freed";
	EXPECT_EQ(heard._regions[0], (UpdateRegion{0, 1, 2, 3}));
	EXPECT_EQ(heard._images[0], ImageBaseRef(image));
}

TEST_F(ImageObjectTest, FreeGivesTheObserversError)
{
	const ImageRef image = MakeImage(1, 1);
	const auto fail = [](const ImageBaseRef&, const UpdateRegion&) -> Result<void> { return IllegalStateError("Not now."); };
	Must(Must(image->ObservableRegionChanged(true))->AddObserver(fail));
	const Byte pixel = 0;
	SetPixelHandlerStruct handler = Must(Write(*image));
	EXPECT_OK(handler.SetLine({0, 0, 1}, PixelBuffer(&pixel, 8), 0));
	EXPECT_EQ(handler.Free().GetError().GetMessage(), "Not now.");
	EXPECT_OK(handler.Free());
}

TEST_F(ImageObjectTest, ChangesTravelUpTheTree)
{
	const ImageTextureRef texture = MakeTexture();
	const ImageRef image = MakeImage(2, 2);
	const ImageLayerRef layer = MakeLayer("", 0);
	Hang(texture, IMAGE, image);
	Hang(image, LAYER, layer);
	const Heard atTexture(texture);
	const Heard atImage(image);
	WriteBytes(*layer, {0, 0, 1}, {1});
	ASSERT_EQ(atTexture._regions.size(), 1u);
	EXPECT_EQ(atTexture._images[0], ImageBaseRef(texture));
	EXPECT_EQ(atTexture._regions[0], (UpdateRegion{0, 0, 0, 0}));
	Hang(image, LAYER, layer); // moves it to the end and must not hook it twice
	WriteBytes(*layer, {0, 0, 1}, {2});
	EXPECT_EQ(atImage._regions.size(), 2u);
	layer->Remove();
	WriteBytes(*layer, {0, 0, 1}, {3});
	EXPECT_EQ(atImage._regions.size(), 2u) << "what left the tree is not heard of";
	EXPECT_FALSE(Must(layer->ObservableRegionChanged(true))->HasObservers());
	WriteBytes(*image, {1, 1, 1}, {3});
	EXPECT_EQ(atTexture._regions.size(), 3u);
}

TEST_F(ImageObjectTest, ChildrenOutliveTheirParent)
{
	const ImageLayerRef layer = MakeLayer("", 0);
	Hang(MakeImage(1, 1), LAYER, layer);
	EXPECT_FALSE(layer->GetParent());
	EXPECT_FALSE(Must(layer->ObservableRegionChanged(true))->HasObservers());
	WriteBytes(*layer, {0, 0, 1}, {1});
}

// Writing asks for the inherited profile and tells all ancestors, both without a call per level.
TEST_F(ImageObjectTest, TreesOfAnyDepth)
{
	const ImageLayerRef lowest = MakeLayer("", 0);
	ImageLayerRef top = lowest;
	for (int level = 0; level < 30000; ++level)
	{
		const ImageLayerRef folder = MakeEmptyLayer();
		Hang(folder, LAYER, top);
		top = folder;
	}
	const ImageRef image = MakeImage(1, 1);
	Hang(image, LAYER, top);
	const Heard heard(image);
	WriteBytes(*lowest, {0, 0, 1}, {1});
	EXPECT_EQ(heard._images.size(), 1u);
	EXPECT_OK(Must(lowest->ObservableRegionChanged(false))->Notify(lowest, UpdateRegion{2, 2, 2, 2}));
	EXPECT_EQ(heard._regions.back(), (UpdateRegion{2, 2, 2, 2})) << "also without a writer";
}

TEST_F(ImageObjectTest, PartsOfImages)
{
	const ImageRef image = MakeImage(3, 2);
	EXPECT_EQ(Must(image->CreateSubImagePart({{0, 0}, {3, 2}})), ImageBaseRef(image));
	EXPECT_ERROR(errorids::UNSUPPORTEDOPERATION, image->CreateSubImagePart({{0, 0}, {2, 2}}));
}

TEST_F(ImageObjectTest, StoredImagesKeepTheirStorage)
{
	for (const Id& storageClass : {ids::IMAGEPIXELSTORAGECLASS_NORMAL, ids::IMAGEPIXELSTORAGECLASS_NODATA})
	{
		const ImageRef image = MakeImage<ImageInterface>(ids::IMAGECLASS_IMAGE, 3, 2, ids::PIXELFORMAT_RGB_U8, storageClass);
		WriteBytes(*image, {0, 1, 1}, {1, 2, 3});
		DataSerializeWriter writer;
		EXPECT_OK(image->DescribeIO(writer));
		const ImageRef read = Make<ImageInterface>(ids::IMAGECLASS_IMAGE);
		DataSerializeReader reader(writer.GetBytes());
		EXPECT_OK(read->DescribeIO(reader));
		EXPECT_EQ(read->GetHeight(), 2);
		EXPECT_EQ(read->GetPixelFormat(), image->GetPixelFormat());
		EXPECT_EQ(ReadBytes(*read, {0, 1, 1}, ids::PIXELFORMAT_RGB_U8), ReadBytes(*image, {0, 1, 1}, ids::PIXELFORMAT_RGB_U8));
	}
	DataSerializeWriter writer;
	EXPECT_OK(Make<ImageInterface>(ids::IMAGECLASS_IMAGE)->DescribeIO(writer));
	DataSerializeReader reader(writer.GetBytes());
	const ImageRef image = MakeImage(1, 1);
	EXPECT_OK(image->DescribeIO(reader));
	EXPECT_ERROR(errorids::NULLPTR, Read(*image));
}

TEST_F(ImageObjectTest, FilesNeedASession)
{
	const Url url = Must(Url::FromSystemPath("folder/picture.bmp"));
	EXPECT_ERROR(errorids::ILLEGALARGUMENT, LoadTexture({}, {}, MEDIASESSIONFLAGS::NONE, {}, nullptr));
	EXPECT_ERROR(errorids::ILLEGALSTATE, LoadTexture(url, {}, MEDIASESSIONFLAGS::NONE, {}, nullptr));
	EXPECT_ERROR(errorids::ILLEGALSTATE, MakeTexture()->Save({}, MEDIASESSIONFLAGS::NONE, nullptr));
}

} // namespace

} // namespace torvi
