// The common part of exporters: the target, the size check and its texts, and where the value of a setting comes from.
#include "tests/mediasession/session_fixture.h"

#include "host/description.h"

namespace torvi::test
{
namespace
{

class LimitedExporter final : public MediaOutputUrlImpl
{
public:
	Result<Data> GetData(const InternedId& key) const override
	{
		return key == ids::MEDIAOUTPUT_MAXIMALIMAGERESOLUTION ? Data::Make<Int>(100) : MediaOutputUrlImpl::GetData(key);
	}
	using MediaOutputUrlImpl::CheckResolution;
};

class UrlOutput : public SessionTest
{
protected:
	void TearDown() override
	{
		DataDescriptionDatabase::Clear();
		SessionTest::TearDown();
	}
};

TEST_F(UrlOutput, ChecksTheSizeWithTheExportersOwnLimit)
{
	struct Case
	{
		Int width, height;
		const char* error;
	};
	const Case cases[] = {
		{100, 100, ""},
		{1, 100, ""},
		{101, 100, "illegalargument: Maximum resolution exceeded."},
		{1, 101, "illegalargument: Maximum resolution exceeded."},
		{0, 5, "illegalargument: resolution must not be 0."},
		{0, 101, "illegalargument: resolution must not be 0."},
		{101, 0, "illegalargument: resolution must not be 0."},
		{-1, 5, "illegalargument: resolution must not be 0."},
	};
	const auto exporter = TORVI_MUST(NewObject<LimitedExporter>());
	for (const Case& test : cases)
		EXPECT_EQ(ErrorOf(exporter->CheckResolution(test.width, test.height)), test.error) << test.width << " x " << test.height;
}

TEST_F(UrlOutput, TheBaseTakesAnyTargetAndEditsNothing)
{
	const auto output = TORVI_MUST(CreateObject<MediaOutputUrlInterface>(ids::CLASS_MEDIAOUTPUTURLBASE));
	EXPECT_TRUE(output->SupportExportStrategy());
	EXPECT_FALSE(output->SupportImportStrategy());
	EXPECT_TRUE(output->GetOutputUrl().IsEmpty());
	const Url url = TORVI_MUST(Url::FromSystemPath("/folder/name.bmp"));
	TORVI_MUST(output->SetOutputUrl(url));
	EXPECT_EQ(output->GetOutputUrl(), url);
	EXPECT_EQ(ErrorOf(output->SetOutputUrl(Url())), "");
	DataDictionary settings;
	EXPECT_EQ(ErrorOf(output->EditSystemOptions(settings, {})), "functionnotimplemented: ");
	EXPECT_EQ(ErrorOf(output->GetFileFormat()), "functionnotimplemented: ");
	EXPECT_EQ(TORVI_MUST(output->CheckBitmapSize(settings, {17, 5})), (DrawDimensionInt{17, 5}));
}

TEST_F(UrlOutput, SettingsComeFromTheDictionaryThenTheDescriptionThenTheFallback)
{
	const std::string_view json =
		R"({"net.torvi.test.export": {"net.torvi.mediasession.export.quality": {"type": "float64", "default": 0.75}}})";
	const auto file = TORVI_MUST(NewObject<IoMemory>(Array<Byte>(json.begin(), json.end())));
	TORVI_MUST(DataDescriptionDatabase::RegisterDatabaseWithUrl("net.torvi.test.module", TORVI_MUST(file->GetUrl())));
	const Id description = "net.torvi.test.export";
	const auto read = [&](const DataDictionary& settings, const Id& where, const Id& key)
	{ return TORVI_MUST(GetExportSetting<Float64>(settings, where, key, 0.5)); };

	DataDictionary settings;
	EXPECT_EQ(read(settings, description, ids::EXPORT_QUALITY), 0.75);
	EXPECT_EQ(read(settings, description, ids::EXPORT_DISABLESRGBCONVERSION), 0.5) << "the description has no such entry";
	EXPECT_EQ(read(settings, "net.torvi.test.unknown", ids::EXPORT_QUALITY), 0.5) << "no such description";
	TORVI_MUST(settings.Set<Int>(ids::EXPORT_QUALITY, 1));
	EXPECT_EQ(read(settings, description, ids::EXPORT_QUALITY), 1.0) << "numbers convert";
	TORVI_MUST(settings.Set<String>(ids::EXPORT_QUALITY, MakeString("best")));
	EXPECT_EQ(read(settings, description, ids::EXPORT_QUALITY), 0.5)
		<< "a value that does not convert is not replaced by the description's";
}

} // namespace
} // namespace torvi::test
