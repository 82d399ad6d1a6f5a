// The session: who may be connected, which stages run in which order, what an error or a cancellation does, and that nothing is left
// behind.
#include "tests/mediasession/session_fixture.h"

namespace torvi::test
{
namespace
{

/// An output that hands every stage on to its input.
class TestOutput final : public MediaOutputImpl
{
public:
	Bool SupportImportStrategy() const override { return _supportsImport; }
	Bool SupportExportStrategy() const override { return _supportsExport; }
	Result<void> Analyze(Block<const MediaConverterRef> inputs, const TimeValue& time, MEDIASESSIONFLAGS flags) override
	{
		TORVI_TRY(Step("Analyze"));
		return AnalyzeInput(TORVI_TRY(GetSingleInput(inputs)), time, flags);
	}
	Result<void> PrepareExecute(Block<const MediaConverterRef> inputs, const TimeValue& time, MEDIASESSIONFLAGS flags) override
	{
		TORVI_TRY(Step("PrepareExecute"));
		return PrepareExecuteInput(TORVI_TRY(GetSingleInput(inputs)), time, flags);
	}
	Result<void> Execute(Block<const MediaConverterRef> inputs, const TimeValue& time, MEDIASESSIONFLAGS flags) override
	{
		TORVI_TRY(Step("Execute"));
		return ExecuteInput(TORVI_TRY(GetSingleInput(inputs)), time, flags);
	}
	Result<void> Close(Block<const MediaConverterRef> inputs) override
	{
		TORVI_TRY(Step("Close"));
		return CloseInput(inputs);
	}

	Bool _supportsImport = true;
	Bool _supportsExport = false;
	std::vector<std::string>* _log = nullptr;
	std::string _failAt;
	std::function<void()> _onStep;

private:
	Result<void> Step(const char* stage)
	{
		if (_log != nullptr)
			_log->push_back(std::string("output.") + stage);
		if (_onStep)
			_onStep();
		TORVI_CHECK(_failAt != stage, IoError("scripted"));
		return OK;
	}
};

Ref<TestOutput> MakeOutput()
{
	return TORVI_MUST(NewObject<TestOutput>());
}

using Session = SessionTest;

TEST_F(Session, WithoutConnectionsConvertAndCloseSucceed)
{
	const MediaSessionRef session = MakeSession();
	EXPECT_EQ(ErrorOf(ConvertAll(session)), "");
	EXPECT_EQ(ErrorOf(session->Close()), "");
	EXPECT_TRUE(session->GetProgress());
}

TEST_F(Session, StagesRunInOrderAndTheFirstErrorEndsThem)
{
	struct Case
	{
		std::string failAt;
		MEDIASESSIONFLAGS flags;
		std::vector<std::string> calls;
	};
	const std::vector<std::string> all = {"output.Analyze",       "input.Analyze",  "output.PrepareExecute",
										  "input.PrepareExecute", "output.Execute", "input.Execute"};
	const auto first = [&](std::size_t count)
	{ return std::vector<std::string>(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count)); };
	const Case cases[] = {
		{"", MEDIASESSIONFLAGS::NONE, all},
		{"", MEDIASESSIONFLAGS::RUNONLYANALYZE, first(2)},
		{"Analyze", MEDIASESSIONFLAGS::NONE, first(1)},
		{"PrepareExecute", MEDIASESSIONFLAGS::NONE, first(3)},
		{"Execute", MEDIASESSIONFLAGS::NONE, first(5)},
	};
	for (const Case& test : cases)
	{
		std::vector<std::string> log;
		const auto input = MakeImporter();
		const auto output = MakeOutput();
		input->_log = output->_log = &log;
		output->_failAt = test.failAt;
		const MediaSessionRef session = MakeSession();
		TORVI_MUST(session->ConnectMediaConverter(input, output));
		EXPECT_EQ(ErrorOf(ConvertAll(session, test.flags)), test.failAt.empty() ? "" : "io: scripted");
		EXPECT_EQ(log, test.calls) << "failing at '" << test.failAt << "'";
	}
}

TEST_F(Session, CloseReachesTheInputThroughTheOutput)
{
	std::vector<std::string> log;
	const auto input = MakeImporter();
	const auto output = MakeOutput();
	input->_log = output->_log = &log;
	const MediaSessionRef session = MakeSession();
	TORVI_MUST(session->ConnectMediaConverter(input, output));
	EXPECT_EQ(ErrorOf(session->Close()), "");
	EXPECT_EQ(log, (std::vector<std::string>{"output.Close", "input.Close"}));
}

TEST_F(Session, ConnectRefusesWhatDoesNotFitAndChangesNothing)
{
	const auto free = [](Bool import, Bool exports)
	{
		const auto input = MakeImporter();
		input->_supportsImport = import;
		input->_supportsExport = exports;
		return input;
	};
	const auto output = MakeOutput();
	const auto exporter = MakeOutput();
	exporter->_supportsImport = false;
	exporter->_supportsExport = true;
	const MediaSessionRef other = MakeSession();
	const auto takenInput = MakeImporter();
	const auto takenOutput = MakeOutput();
	TORVI_MUST(other->ConnectMediaConverter(takenInput, takenOutput));

	const auto importer = free(true, false);
	const auto refusedInput = free(true, false);
	struct Case
	{
		MediaConverterRef input, output;
		std::string error;
	};
	const Case cases[] = {
		{{}, output, "illegalargument"},
		{importer, {}, "illegalargument"},
		{output, output, "illegalargument"},
		{importer, exporter, "illegalstate: Output doesn't support required import strategy."},
		{free(false, false), exporter, "illegalstate: Input doesn't support required export strategy."},
		{takenInput, output, "illegalargument: input is already part of another session"},
		{refusedInput, takenOutput, "illegalargument: output is already part of another session"},
	};
	for (const Case& test : cases)
	{
		const MediaSessionRef session = MakeSession();
		EXPECT_EQ(ErrorOf(session->ConnectMediaConverter(test.input, test.output)).substr(0, test.error.size()), test.error);
		EXPECT_TRUE(session->GetInputConverters(*output).empty());
	}
	EXPECT_FALSE(refusedInput->GetSession()) << "the input must not be linked when the output is refused";
	EXPECT_FALSE(output->GetSession());
}

TEST_F(Session, ConvertersOfThisSessionConnectAgainAndOutliveIt)
{
	const auto input = MakeImporter();
	const auto second = MakeImporter();
	const auto output = MakeOutput();
	MediaSessionRef session = MakeSession();
	TORVI_MUST(session->ConnectMediaConverter(input, output));
	TORVI_MUST(session->ConnectMediaConverter(second, output));
	TORVI_MUST(session->ConnectMediaConverter(input, output));
	const Array<MediaConverterRef> inputs = TORVI_MUST(output->GetInputConverter());
	EXPECT_EQ(inputs, (Array<MediaConverterRef>{input, second, input}));
	EXPECT_TRUE(TORVI_MUST(input->GetInputConverter()).empty());
	EXPECT_EQ(ErrorOf(ConvertAll(session)).substr(0, 12), "illegalstate") << "this output takes one input";

	session = nullptr;
	EXPECT_FALSE(input->GetSession());
	const MediaSessionRef next = MakeSession();
	EXPECT_EQ(ErrorOf(next->ConnectMediaConverter(input, output)), "");
	EXPECT_EQ(input->GetSession(), next);
}

TEST_F(Session, LinksAreExclusiveUntilTheyAreCleared)
{
	const auto input = MakeImporter();
	const MediaSessionRef a = MakeSession();
	const MediaSessionRef b = MakeSession();
	TORVI_MUST(input->ConnectToSession(a));
	EXPECT_EQ(ErrorOf(input->ConnectToSession(b)).substr(0, 12), "illegalstate");
	EXPECT_EQ(input->GetSession(), a);
	EXPECT_EQ(ErrorOf(input->ConnectToSession({})), "");
	EXPECT_EQ(ErrorOf(input->ConnectToSession(b)), "");
	EXPECT_EQ(ErrorOf(MakeImporter()->GetInputConverter()).substr(0, 12), "illegalstate");
}

TEST_F(Session, AStageKeepsTheSessionAlive)
{
	const auto input = MakeImporter();
	const auto output = MakeOutput();
	MediaSessionRef session = MakeSession();
	TORVI_MUST(session->ConnectMediaConverter(input, output));
	output->_onStep = [&]() { session = nullptr; };
	EXPECT_EQ(ErrorOf(MediaSessionRef(session)->Convert(TimeValue(), MEDIASESSIONFLAGS::NONE)), "");
	EXPECT_FALSE(input->GetSession());
}

TEST_F(Session, AStillPictureEndsWithASecondExecute)
{
	const auto input = MakeImporter();
	const auto output = MakeOutput();
	const MediaSessionRef session = MakeSession();
	TORVI_MUST(session->ConnectMediaConverter(input, output));
	EXPECT_EQ(ErrorOf(ConvertAll(session)), "");
	EXPECT_EQ(ErrorOf(PrepareExecuteInput(input, TimeValue(), MEDIASESSIONFLAGS::NONE)), "mediastreameof: ");
}

TEST_F(Session, ListsStreamTreesParentsFirst)
{
	const auto input = MakeImporter();
	const auto a = Named(MakeStream(MediaStreamType::IMAGE), "a");
	const auto layer = Below(a, Named(MakeStream(MediaStreamType::LAYERFOLDER), "a.layer"), 3);
	Below(layer, Named(MakeStream(MediaStreamType::RASTERLAYER), "a.layer.layer"), 3);
	Below(a, Named(MakeStream(MediaStreamType::RASTERLAYER), "a.layer2"), 3);
	Below(a, Named(MakeStream(MediaStreamType::ALPHA), "a.alpha"), 2);
	const auto b = Named(MakeStream(MediaStreamType::IMAGE), "b");
	TORVI_MUST(input->AddOutputStream(a));
	TORVI_MUST(input->AddOutputStream(b));
	TORVI_MUST(input->RemoveOutputStream(b));
	EXPECT_EQ(ErrorOf(input->AddOutputStream({})).substr(0, 7), "nullptr");

	const auto names = [&](Bool recursive)
	{
		std::string text;
		for (const MediaStreamRef& stream : TORVI_MUST(input->GetOutputStreams(recursive)))
			text += GetFormatOf(stream)->GetOr<String>(ids::MEDIAFORMAT_STREAMNAME, {}).c_str() + std::string(" ");
		return text;
	};
	EXPECT_EQ(names(false), "a b ");
	EXPECT_EQ(names(true), "a a.alpha a.layer a.layer.layer a.layer2 b ");
}

TEST_F(Session, BasesAnswerForWhatIsNotThere)
{
	const auto converter = TORVI_MUST(CreateObject<MediaConverterInterface>(ids::CLASS_MEDIACONVERTERBASE));
	EXPECT_EQ(converter->Get<Bool>(ids::MEDIAINPUT_SUPPORTS_VIDEO).ValueOr(true), false);
	EXPECT_EQ(converter->Get<Bool>(ids::MEDIAOUTPUT_SUPPORTS_SYSTEMOPTIONS).ValueOr(true), false);
	EXPECT_EQ(converter->GetData(ids::MEDIAOUTPUT_EMBED_COLORPROFILE).GetError().GetId(), errorids::KEYNOTFOUND);
	EXPECT_EQ(ErrorOf(converter->Analyze({}, TimeValue(), MEDIASESSIONFLAGS::NONE)), "functionnotimplemented: ");

	const auto output = TORVI_MUST(CreateObject<MediaOutputInterface>(ids::CLASS_MEDIAOUTPUTBASE));
	EXPECT_TRUE(output->GetClass()->IsSubclassOf(ids::CLASS_MEDIABASE));
	EXPECT_EQ(ErrorOf(output->ResetConverter()), "functionnotimplemented: ");
	EXPECT_EQ(TORVI_MUST(output->CallSelectionHandler({}, {})), MediaOutputSelectionResult::SELECTALL);
	TORVI_MUST(output->SetSelectionHandler([](const MediaStreamRef&, const MediaStreamFormat&) -> Result<MediaOutputSelectionResult>
										   { return MediaOutputSelectionResult::SELECTSTRUCTURE; }));
	EXPECT_EQ(TORVI_MUST(output->CallSelectionHandler({}, {})), MediaOutputSelectionResult::SELECTSTRUCTURE);
}

} // namespace
} // namespace torvi::test
