// A started module up to the media session, and the short ways in which tests load and save files in memory and look at their pixels.
#pragma once

#include "host/iomemory.h"
#include "host/module.h"
#include "torvi/mediasession_session.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvi::test
{

/// Starts the host, pixel formats, profiles, blend modes, images and the media session, then `registerFormats`. `Start` may be called again
/// after `Stop`.
class MediaModule
{
public:
	using RegisterFormats = Result<void> (*)(Module& module);

	explicit MediaModule(RegisterFormats registerFormats);
	MediaModule(const MediaModule&) = delete;
	MediaModule& operator=(const MediaModule&) = delete;
	~MediaModule();

	const Result<void>& GetResult() const noexcept { return _result; }

private:
	Result<void> Start(RegisterFormats registerFormats);

	HostServices _services;
	Module _module{_services};
	Result<void> _result;
};

/// A suite over a started module.
template <MediaModule::RegisterFormats REGISTER>
class MediaTest : public ::testing::Test
{
protected:
	void SetUp() override { ASSERT_TRUE(_module.GetResult().IsOk()) << _module.GetResult().GetError().ToString(); }

	MediaModule _module{REGISTER};
};

/// rgba.u8 pixels, top row first.
struct PixelArray
{
	Int _width = 0;
	Int _height = 0;
	std::vector<Byte> _bytes;

	friend bool operator==(const PixelArray&, const PixelArray&) = default;
};

/// A Url of a copy of the bytes.
Url MakeMemoryUrl(Block<const Byte> bytes, std::string_view name = "memory");

/// All pictures of a file.
Result<ImageTextureRef> LoadFile(const Url& url);

/// An image in rgba.u8 without conversion of colours. Where its format has no alpha, its first alpha channel fills alpha.
Result<PixelArray> ReadPixels(const ImageBaseRef& image);

/// Loads a file and reads its first picture.
Result<PixelArray> LoadPixels(const Url& url);

/// The picture of index `index` of a texture; null if there is none.
ImageBaseRef GetPicture(const ImageTextureRef& texture, Int index);

/// What the first published picture of a file says, by an importer of that class, without detection.
Result<MediaStreamFormat> DescribePicture(const Id& importer, Block<const Byte> bytes);

/// Saves a texture through an exporter of that class.
Result<void> SaveFile(const ImageTextureRef& texture, const Id& exporter, const Url& url);

struct SavedFile
{
	std::vector<Byte> _bytes;
	Result<void> _result = OK;
};

/// Saves a texture, which keeps the settings if there are any, into memory.
SavedFile SaveToMemory(const ImageTextureRef& texture, const Id& exporter, const DataDictionary& settings = {});

/// A texture with one picture of the format and those lines, packed.
Result<ImageTextureRef> MakeTexture(const Id& pixelFormat, Int width, Int height, Block<const Byte> lines);

/// "id: message" of the innermost cause; "" without an error.
std::string TextOf(const Error& error);

} // namespace torvi::test
