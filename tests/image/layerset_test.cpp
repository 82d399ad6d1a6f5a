// Layer sets: the value, its stored form, and what it selects below an image.
#include "tests/image/image_test.h"

namespace torvi
{

namespace
{

using enum IMAGEHIERARCHY;

LayerSet MakeLayerSet(LAYERSETMODE mode, std::initializer_list<std::string_view> names)
{
	LayerNames set;
	for (const std::string_view name : names)
		set.insert(MakeString(name));
	LayerSet layerSet;
	EXPECT_OK(layerSet.SetMode(mode));
	EXPECT_OK(layerSet.SetSelectedLayers(std::move(set)));
	return layerSet;
}

TEST(LayerSet, EveryMemberCounts)
{
	const LayerSet base = MakeLayerSet(LAYERSETMODE::LAYERS, {"Sky", "sKY", "\xC3\xA4"});
	const LayerSet otherCase = MakeLayerSet(LAYERSETMODE::LAYERS, {"\xC3\x84", "SKY"});
	EXPECT_EQ(base, otherCase) << "names ignore case";
	EXPECT_EQ(base.GetHashCode(), otherCase.GetHashCode());
	LayerSet image = base;
	EXPECT_OK(image.SetSelectedImage("Front"));
	LayerSet imageInOtherCase = base;
	EXPECT_OK(imageInOtherCase.SetSelectedImage("front"));
	LayerSet alpha = base;
	EXPECT_OK(alpha.SetCalculateAlpha(true));
	LayerSet mode = base;
	EXPECT_OK(mode.SetMode(LAYERSETMODE::ALPHAS));
	const LayerSet sets[] = {base, image, imageInOtherCase, alpha, mode, MakeLayerSet(LAYERSETMODE::LAYERS, {"Sky", "c"}), LayerSet()};
	for (std::size_t a = 0; a < std::size(sets); ++a)
	{
		for (std::size_t b = 0; b < std::size(sets); ++b)
			EXPECT_EQ(sets[a] == sets[b], a == b) << a << " and " << b;
	}
}

TEST(LayerSet, StoredFormRoundTrips)
{
	LayerSet layerSet = MakeLayerSet(LAYERSETMODE::LAYERMASKS, {"a\\b", "", "c"});
	EXPECT_OK(layerSet.SetSelectedImage("#2"));
	EXPECT_OK(layerSet.SetCalculateAlpha(true));
	DataSerializeWriter writer;
	EXPECT_OK(writer.DescribeElement("set", layerSet));
	LayerSet read = MakeLayerSet(LAYERSETMODE::ALPHAS, {"old"});
	const LayerSet copy = read;
	DataSerializeReader reader(writer.GetBytes());
	EXPECT_OK(reader.DescribeElement("set", read));
	EXPECT_EQ(read, layerSet);
	EXPECT_NE(copy, read) << "copies are values";

	DataSerializeWriter badWriter;
	Array<String> names;
	String image;
	UInt32 mode = 3;
	EXPECT_OK(badWriter.DescribeElement("_layers", names));
	EXPECT_OK(badWriter.DescribeElement("_selectedImage", image));
	EXPECT_OK(badWriter.DescribeElement("_layersetMode", mode));
	Bool calculateAlpha = false;
	EXPECT_OK(badWriter.DescribeElement("_calculateAlpha", calculateAlpha));
	DataSerializeReader badReader(badWriter.GetBytes());
	EXPECT_ERROR(errorids::ILLEGALSTATE, read.DescribeIO(badReader));
	EXPECT_EQ(read, layerSet);
}

// The image's own pixel is 100. Below it:
//   folder "Outer" 10: layer "inner" 11 (masks: "first" 21, nameless 22), nameless folder 12: layer "deep" 13 (mask "m" 23), layer "plain"
//   17 nameless layer 14 (mask nameless 24) layer "top" 15 layer "inner" 16 (mask "first" 25) alpha "matte" 31: alpha "nested" 32, alpha
//   "Second" 33
class LayerSelectionTest : public ImageTest
{
protected:
	void SetUp() override
	{
		_image = MakeImage(1, 1);
		WriteBytes(*_image, {0, 0, 1}, {100});
		const ImageBaseRef outer = Add(_image, LAYER, "Outer", 10);
		const ImageBaseRef inner = Add(outer, LAYER, "inner", 11);
		Add(inner, MASK, "first", 21);
		Add(inner, MASK, "", 22);
		const ImageBaseRef nameless = Add(outer, LAYER, "", 12);
		Add(Add(nameless, LAYER, "deep", 13), MASK, "m", 23);
		Add(outer, LAYER, "plain", 17);
		Add(Add(_image, LAYER, "", 14), MASK, "", 24);
		Add(_image, LAYER, "top", 15);
		Add(Add(_image, LAYER, "inner", 16), MASK, "first", 25);
		const ImageBaseRef matte = AddAlpha(_image, "matte", 31);
		AddAlpha(matte, "nested", 32);
		AddAlpha(_image, "Second", 33);
	}

	static ImageBaseRef Add(const ImageBaseRef& parent, IMAGEHIERARCHY branch, std::string_view name, UChar value)
	{
		ImageBaseRef layer = MakeLayer(name, value);
		EXPECT_OK(layer->InsertAsLastChildOf(parent, static_cast<Int32>(branch)));
		return layer;
	}
	static ImageBaseRef AddAlpha(const ImageBaseRef& parent, std::string_view name, UChar value)
	{
		ImageBaseRef alpha = Add(parent, ALPHA, "another name", value);
		EXPECT_OK(alpha->Set<String>(ids::IMAGE_ALPHANAME, MakeString(name)));
		return alpha;
	}
	int Select(LAYERSETMODE mode, std::initializer_list<std::string_view> names)
	{
		return ReadSelected(*_image, MakeLayerSet(mode, names));
	}

	ImageRef _image;
};

TEST_F(LayerSelectionTest, Alphas)
{
	EXPECT_EQ(Select(LAYERSETMODE::ALPHAS, {"SECOND"}), 33);
	EXPECT_EQ(Select(LAYERSETMODE::ALPHAS, {"nested", "Second"}), 32) << "the first in the tree";
	EXPECT_EQ(Select(LAYERSETMODE::ALPHAS, {"another name"}), 31) << "the first of all";
	EXPECT_EQ(Select(LAYERSETMODE::ALPHAS, {}), 31);
	EXPECT_EQ(ReadSelected(*MakeImage(1, 1), MakeLayerSet(LAYERSETMODE::ALPHAS, {"x"})), 0)
		<< "an image without alpha channels shows itself";
}

TEST_F(LayerSelectionTest, Masks)
{
	const struct
	{
		const char* _name;
		int _found;
	} CASES[] = {
		{"inner\\first", 21},        // the short form, first in the tree
		{"Inner\\ALPHA", 22},        // a nameless mask
		{"outer\\inner\\alpha", 22}, // the whole path
		{"deep\\m", 23},
		{"Outer\\deep\\m", 23}, // nameless folders add nothing
		{"\\Alpha", 24},        // a nameless layer, the short form
		{"Alpha", 24},          // and the whole path
		{"nothing", 21},        // the first mask
	};
	for (const auto& test : CASES)
		EXPECT_EQ(Select(LAYERSETMODE::LAYERMASKS, {test._name}), test._found) << test._name;
	EXPECT_EQ(Select(LAYERSETMODE::LAYERMASKS, {"Outer\\inner\\first", "deep\\m"}), 23) << "the short form goes first";
	EXPECT_EQ(ReadSelected(*MakeImage(1, 1), MakeLayerSet(LAYERSETMODE::LAYERMASKS, {"x"})), 0);
}

TEST_F(LayerSelectionTest, Layers)
{
	const struct
	{
		const char* _name;
		int _found;
	} CASES[] = {
		{"Outer", 10}, {"outer\\INNER", 10}, {"Outer\\deep", 10}, {"top", 15}, {"deep", 100}, {"Outer\\top", 100}, {"nothing", 100},
	};
	for (const auto& test : CASES)
		EXPECT_EQ(Select(LAYERSETMODE::LAYERS, {test._name}), test._found) << test._name;
	EXPECT_EQ(Select(LAYERSETMODE::LAYERS, {}), 100);
	EXPECT_EQ(Select(LAYERSETMODE::LAYERS, {"outer", "outer\\inner", "Outer\\deep"}), 10) << "one folder, however often it is named";
}

// Paths are relative to the image that is asked: what is selected does not search them again.
TEST_F(LayerSelectionTest, SelectedFoldersShowWholeAndHiddenLayersToo)
{
	Add(Add(_image, LAYER, "", 50), LAYER, "below no name", 51);
	Add(Add(_image, LAYER, "twice", 60), LAYER, "twice", 61);
	EXPECT_EQ(Select(LAYERSETMODE::LAYERS, {"below no name"}), 50);
	EXPECT_EQ(Select(LAYERSETMODE::LAYERS, {"twice"}), 60);
	EXPECT_OK(GetImageChildren(*_image, LAYER)[2]->Set<Bool>(ids::IMAGE_LAYER_ENABLED, false));
	EXPECT_EQ(Select(LAYERSETMODE::LAYERS, {"top"}), 15);
}

TEST_F(LayerSelectionTest, NamesOfAnotherTypeAreErrors)
{
	EXPECT_OK(GetImageChildren(*_image, LAYER)[0]->Set<Int>(ids::IMAGE_NAME, 1));
	const LayerSet layerSet = MakeLayerSet(LAYERSETMODE::LAYERS, {"top"});
	EXPECT_ERROR(errorids::WRONGDATATYPE, TryReadBytes(*_image, {0, 0, 1}, ids::PIXELFORMAT_GREY_U8, &layerSet));
}

} // namespace

} // namespace torvi
