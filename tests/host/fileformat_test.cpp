// The search for handlers: order, types, fresh streams, and what errors do to it.
#include "host/fileformat.h"
#include "host/ids.h"
#include "host/module.h"

#include "tests/support/allocation_failure.h"
#include "tests/support/failing_url.h"

#include <gtest/gtest.h>

namespace torvi
{
namespace
{

/// Accepts files that begin with a byte; reads on to the end and closes, as badly as a format may behave.
class ByteFormat final : public FileFormatBaseImpl
{
public:
	explicit ByteFormat(Byte first) : _first(first) {}
	Result<Bool> Detect(const Url&, const InputStreamRef& stream) const override
	{
		Byte bytes[64];
		const Int count = TORVI_TRY(stream->ReadEOS(bytes));
		TORVI_TRY(stream->Close());
		return count > 0 && bytes[0] == _first;
	}

private:
	Byte _first;
};

class TestHandler final : public FileFormatHandlerInterface
{
public:
	TestHandler(Id id, FileFormatRef format, DataType type, Int number) : _id(id), _format(std::move(format)), _type(type), _number(number)
	{
	}
	String ToString(std::string_view) const override { return MakeString(_id.GetText()); }
	Result<FileFormatRef> GetFileFormat() const override { return _format; }
	DataType GetHandlerType() const override { return _type; }
	Result<ObjectRef> CreateHandler(const Url&) const override { return UnsupportedOperationError(); }
	Int GetDependends() const override { return _number; }

private:
	Id _id;
	FileFormatRef _format;
	DataType _type;
	Int _number;
};

class Detection : public testing::Test
{
protected:
	void SetUp() override
	{
		TORVI_MUST(_services.Init());
		g_torvi = &_services;
	}
	void TearDown() override { g_torvi = nullptr; }

	void Add(Id id, Byte first, Int number, DataType type = GetDataType<Int32>())
	{
		Module module(_services);
		const Ref<ByteFormat> format = TORVI_MUST(NewObject<ByteFormat>(first));
		TORVI_MUST(module.AddObject(ids::REGISTRY_FILEFORMATHANDLERS, id, TORVI_MUST(NewObject<TestHandler>(id, format, type, number))));
	}

	static Result<Array<FileFormatHandlerRef>> Detect(const Url& url, const FileFormatDetection::TryHandler& tryHandler = {})
	{
		const DataType types[] = {GetDataType<Int32>()};
		return FileFormatDetection::DetectAll(url, types, 0, tryHandler);
	}

	/// The names of what was found, or the error's message.
	static String DetectNames(const Url& url, const FileFormatDetection::TryHandler& tryHandler = {})
	{
		const Result<Array<FileFormatHandlerRef>> found = Detect(url, tryHandler);
		if (!found.IsOk())
			return MakeString(found.GetError().GetMessage());
		String names;
		for (const FileFormatHandlerRef& handler : found.GetValue())
			names += handler->ToString() + " ";
		return names;
	}

	HostServices _services;
};

constexpr Byte FILE_BYTES[] = {'A', 'B'};

TEST_F(Detection, OrdersByNumberThenByRegistration)
{
	Add("late", 'A', 30000);
	Add("other", 'B', 1);
	Add("later", 'A', 30000);
	Add("early", 'A', -5);
	Add("otherType", 'A', 0, GetDataType<Int64>());
	EXPECT_EQ(DetectNames(test::MakeFailingUrl(FILE_BYTES, {})), "early late later ");
	EXPECT_EQ(DetectNames(test::MakeFailingUrl(FILE_BYTES, {._canSeek = false})), "early late later ");
	EXPECT_EQ(DetectNames(test::MakeFailingUrl({}, {})), "");
}

TEST_F(Detection, TryHandlerEndsTheWalk)
{
	Add("first", 'A', 1);
	Add("second", 'A', 2);
	Add("third", 'A', 3);
	const Ref<test::FailingFile> file =
		TORVI_MUST(NewObject<test::FailingFile>(Array<Byte>(std::begin(FILE_BYTES), std::end(FILE_BYTES)), test::FailurePlan{}));
	const Url url = TORVI_MUST(file->GetUrl());
	EXPECT_EQ(DetectNames(url, [](const FileFormatHandlerRef& handler) -> Result<Bool> { return handler->ToString() == "second"; }),
			  "second ");
	EXPECT_EQ(file->GetOpenCount(), 2); // the third was not asked
	EXPECT_EQ(file->GetLivingCount(), 0);
	EXPECT_EQ(DetectNames(url, [](const FileFormatHandlerRef&) -> Result<Bool> { return false; }), "");
	EXPECT_EQ(DetectNames(url, [](const FileFormatHandlerRef&) -> Result<Bool> { return UnknownError("Enough."); }), "Enough.");
}

TEST_F(Detection, ErrorsOfOpeningEndAndErrorsOfReadingDoNot)
{
	Add("first", 'A', 1);
	EXPECT_EQ(DetectNames(test::MakeFailingUrl(FILE_BYTES, {._failsOpen = true})), "The open failed.");
	EXPECT_EQ(DetectNames(test::MakeFailingUrl(FILE_BYTES, {._readErrorAt = 1})), "");
	EXPECT_EQ(DetectNames(test::MakeFailingUrl(FILE_BYTES, {._failsClose = true})), "");
	g_torvi = nullptr;
	EXPECT_EQ(Detect(test::MakeFailingUrl(FILE_BYTES, {})).GetError().GetId(), errorids::ILLEGALSTATE);
}

TEST_F(Detection, BaseClassIsRegisteredAndDetectsNothing)
{
	Module module(_services);
	ASSERT_TRUE(RegisterFileFormatBase(module).IsOk());
	const FileFormatRef format = TORVI_MUST(CreateObject<FileFormatInterface>(ids::CLASS_FILEFORMATBASE));
	EXPECT_EQ(format->Detect(Url(), InputStreamRef()).GetError().GetId(), errorids::FUNCTIONNOTIMPLEMENTED);
}

TEST_F(Detection, HoldsWithoutMemory)
{
	Add("first", 'A', 1);
	Add("second", 'A', 2);
	const Url url = test::MakeFailingUrl(FILE_BYTES, {});
	const Int count = test::ForEachAllocationFailure([&]() { return Detect(url); },
													 [](const Result<Array<FileFormatHandlerRef>>& result, Bool hasFailed)
													 {
														 EXPECT_EQ(result.IsOk(), !hasFailed);
														 if (result.IsOk())
															 EXPECT_EQ(result.GetValue().size(), 2u);
														 else
															 EXPECT_EQ(result.GetError().GetId(), errorids::OUTOFMEMORY);
													 });
	EXPECT_GT(count, 5);
}

} // namespace
} // namespace torvi
