// What the tests of the media session share: a host with formats, images and the session, and inputs and outputs that follow a script.
#pragma once

#include "host/iomemory.h"
#include "host/module.h"
#include "mediasession/media_converter_impl.h"
#include "mediasession/mediasession_urloutput.h"
#include "torvi/exif.h"
#include "torvi/mediasession_fileformats.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace torvi::test
{

constexpr Id GREY8 = "net.torvi.image.pixelformat.grey.u8";
constexpr Id RGB8 = "net.torvi.image.pixelformat.rgb.u8";

class SessionTest : public testing::Test
{
protected:
	void SetUp() override;
	void TearDown() override;

	HostServices _services;
	Module _module{_services};
};

/// An importer that publishes what its function says and pushes rows of numbers: byte i of line y is y * 16 + i.
class TestImporter final : public MediaConverterImpl, public virtual MediaInputInterface
{
public:
	Bool SupportImportStrategy() const override { return _supportsImport; }
	Bool SupportExportStrategy() const override { return _supportsExport; }
	Result<void> Analyze(Block<const MediaConverterRef> inputs, const TimeValue& time, MEDIASESSIONFLAGS flags) override;
	Result<void> PrepareExecute(Block<const MediaConverterRef> inputs, const TimeValue& time, MEDIASESSIONFLAGS flags) override;
	Result<void> Execute(Block<const MediaConverterRef> inputs, const TimeValue& time, MEDIASESSIONFLAGS flags) override;
	Result<void> Close(Block<const MediaConverterRef> inputs) override;
	using MediaConverterImpl::AddOutputStream;

	std::function<Result<void>(TestImporter&)> _publish;
	std::function<Result<void>(const MediaStreamProperties&)> _changeProperties; ///< before InitStream
	std::function<Result<void>()> _beforeExecute;
	Bool _supportsImport = true;
	Bool _supportsExport = false;
	Bool _isMovie = false;
	std::vector<std::string> _calls;
	std::vector<std::string>* _log = nullptr; ///< shared by several converters
	std::string _name = "input";

private:
	void Log(const char* stage);
	Result<void> Push(const MediaStreamImageDataImportRef& stream);

	Bool _isDone = false;
	Int _job = -1;
};

Ref<TestImporter> MakeImporter(std::function<Result<void>(TestImporter&)> publish = {});

/// A stream with one format of this type, `width` x `height` pixels of a published format.
MediaStreamImageDataImportRef MakeStream(MediaStreamType type, Int width = 4, Int height = 3, const Id& pixelFormat = RGB8);
MediaStreamFormat GetFormatOf(const MediaStreamRef& stream);
/// Hangs a stream below another and gives it.
MediaStreamImageDataImportRef Below(const MediaStreamRef& parent, const MediaStreamImageDataImportRef& child, Int32 branch);
MediaStreamImageDataImportRef Named(const MediaStreamImageDataImportRef& stream, std::string_view name);

/// The bytes of an image in its own format.
std::vector<int> ReadOwnBytes(const ImageBaseRef& image);
/// The same as a TestImporter pushes it.
std::vector<int> PushedPixels(Int bytesPerLine, Int height);

MediaSessionRef MakeSession();
Result<void> ConvertAll(const MediaSessionRef& session, MEDIASESSIONFLAGS flags = MEDIASESSIONFLAGS::NONE);

/// "id: message" of a failed result; empty for success.
template <class T>
std::string ErrorOf(const Result<T>& result)
{
	if (result.IsOk())
		return {};
	const std::string_view id = result.GetError().GetId().GetText();
	return std::string(id.substr(id.rfind('.') + 1)) + ": " + std::string(result.GetError().GetMessage());
}

} // namespace torvi::test
