// Files into textures and textures into files, by importers and exporters that follow a script: what is built where, which streams are
// taken, which importer gets the file, and that a saved tree is the one that was loaded.
#include "tests/mediasession/texturebridge_fixture.h"

#include "host/crashreport.h"

namespace torvi::test
{
namespace
{

TEST_F(TextureBridge, LoadsAPictureAndNamesItsFormat)
{
	const auto importer = MakeImporter([](TestImporter& self) { return PublishPictures(self, 1); });
	AddHandler(importer);
	const Result<MediaSessionRef> session = Load();
	ASSERT_EQ(ErrorOf(session), "");
	ASSERT_EQ(GetImages().size(), 1u);
	EXPECT_EQ(ReadOwnBytes(GetImages()[0]), PushedPixels(12, 3));
	EXPECT_EQ(_texture->GetOr<FileFormatRef>(ids::IMAGE_FILEFORMAT, {}), _formats[0]);
	EXPECT_EQ(_texture->GetOr<Float64>(ids::IMAGE_ASPECTRATIO, 0.0), 1.0);
	EXPECT_FALSE(_texture->GetData(ids::IMAGE_DPI).IsOk());
	EXPECT_EQ(CrashReportServices::GetProperty("MediaSessionImport"), _url.ToString());
	EXPECT_EQ(ErrorOf(session.GetValue()->Convert(TimeValue(), MEDIASESSIONFLAGS::NONE)), "mediastreameof: ");
	EXPECT_EQ(GetImages().size(), 1u) << "the second Analyze does nothing";
}

TEST_F(TextureBridge, AKeptSessionRefillsTheSameImages)
{
	Int frame = 0;
	const auto importer = MakeImporter(
		[](TestImporter& self) -> Result<void>
		{
			const auto stream = MakeStream(MediaStreamType::IMAGE);
			const auto second = MakeStream(MediaStreamType::IMAGE);
			TORVI_TRY(GetFormatOf(stream)->Set<Float64>(ids::MEDIAFORMAT_VIDEO_FPS, 25.0));
			TORVI_TRY(GetFormatOf(stream)->Set<TimeValue>(ids::MEDIAFORMAT_VIDEO_DURATION, TimeValue(4.0)));
			TORVI_TRY(GetFormatOf(second)->Set<Float64>(ids::MEDIAFORMAT_VIDEO_FPS, 50.0));
			TORVI_TRY(self.AddOutputStream(stream));
			return self.AddOutputStream(second);
		});
	importer->_isMovie = true;
	importer->_changeProperties = [&](const MediaStreamProperties& properties) -> Result<void>
	{
		TORVI_TRY(properties->Set<Int>(ids::MEDIAFORMAT_WIDTH, 5 + frame)); // an importer may learn the size late
		return properties->Set<TimeValue>(ids::MEDIAPROPERTY_SAMPLETIME, TimeValue(static_cast<Float64>(frame)));
	};
	AddHandler(importer);
	const MediaSessionRef session = TORVI_MUST(Load());
	const ImageBaseRef image = GetImages().at(0);
	EXPECT_EQ(image->GetWidth(), 5);
	EXPECT_EQ(_texture->GetOr<Float64>(ids::IMAGE_FPS, 0.0), 25.0);
	EXPECT_EQ(_texture->GetOr<TimeValue>(ids::IMAGE_DURATION, {}), TimeValue(4.0));
	frame = 2;
	EXPECT_EQ(ErrorOf(session->Convert(TimeValue(2.0), MEDIASESSIONFLAGS::NONE)), "");
	EXPECT_EQ(GetImages().at(0), image);
	EXPECT_EQ(image->GetWidth(), 7);
	EXPECT_EQ(_texture->GetOr<TimeValue>(ids::IMAGE_SAMPLETIME, {}), TimeValue(2.0));
}

TEST_F(TextureBridge, LayerSetsChooseThePicture)
{
	struct Case
	{
		const char* selected; ///< null: no layer set
		std::vector<Int> widths;
	};
	const Case cases[] = {{nullptr, {4, 5, 6}}, {"", {4}}, {"#2", {5}}, {"#4", {}}};
	const auto importer = MakeImporter([](TestImporter& self) { return PublishPictures(self, 3); });
	AddHandler(importer);
	for (const Case& test : cases)
	{
		_texture = TORVI_MUST(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
		LayerSet layerSet;
		if (test.selected != nullptr)
			TORVI_MUST(layerSet.SetSelectedImage(test.selected));
		EXPECT_EQ(ErrorOf(Load(MEDIASESSIONFLAGS::NONE, {}, test.selected != nullptr ? &layerSet : nullptr)), "");
		std::vector<Int> widths;
		for (const ImageBaseRef& image : GetImages())
			widths.push_back(image->GetWidth());
		EXPECT_EQ(widths, test.widths) << (test.selected != nullptr ? test.selected : "without a layer set");
	}
}

TEST_F(TextureBridge, PicturesWithNamesAreChosenByThemWithoutCase)
{
	const auto importer = MakeImporter(
		[](TestImporter& self) -> Result<void>
		{
			TORVI_TRY(self.AddOutputStream(Named(MakeStream(MediaStreamType::IMAGE), "One")));
			return self.AddOutputStream(Named(MakeStream(MediaStreamType::IMAGE), "Two"));
		});
	AddHandler(importer);
	LayerSet layerSet;
	TORVI_MUST(layerSet.SetSelectedImage("tWO"));
	ASSERT_EQ(ErrorOf(Load(MEDIASESSIONFLAGS::NONE, {}, &layerSet)), "");
	ASSERT_EQ(GetImages().size(), 1u);
	EXPECT_EQ(NameOf(GetImages()[0]), "Two");
}

TEST_F(TextureBridge, StructureAloneGivesImagesWithoutPixels)
{
	struct Case
	{
		MEDIASESSIONFLAGS flags;
		Id storage;
	};
	const Case cases[] = {{MEDIASESSIONFLAGS::RUNONLYANALYZE, {}}, {MEDIASESSIONFLAGS::NONE, ids::IMAGEPIXELSTORAGECLASS_NODATA}};
	for (const Case& test : cases)
	{
		TearDown();
		SetUp();
		Int inits = 0;
		const auto importer = MakeImporter(&PublishLayers);
		importer->_changeProperties = [&](const MediaStreamProperties&) -> Result<void>
		{
			++inits;
			return OK;
		};
		AddHandler(importer);
		ASSERT_EQ(ErrorOf(Load(test.flags, test.storage)), "");
		ASSERT_EQ(GetImages().size(), 1u);
		EXPECT_EQ(GetImages()[0]->GetHeight(), 3);
		EXPECT_EQ(GetImageChildren(*GetImages()[0], IMAGEHIERARCHY::LAYER).size(), 2u);
		EXPECT_EQ(inits, 0);
	}
}

TEST_F(TextureBridge, LayersFoldersMasksAndAlphasComeBackAsTheyWere)
{
	const auto importer = MakeImporter(&PublishLayers);
	AddHandler(importer);
	ASSERT_EQ(ErrorOf(Load()), "");
	DataDictionary settings;
	TORVI_MUST(settings.Set<Float64>(ids::EXPORT_QUALITY, 0.5));
	TORVI_MUST(_texture->Set<DataDictionary>(ids::IMAGE_EXPORTSETTINGS, settings));

	const auto exporter = TORVI_MUST(NewObject<TestExporter>());
	ASSERT_EQ(ErrorOf(_texture->Save(exporter, MEDIASESSIONFLAGS::NONE, nullptr)), "");
	EXPECT_EQ(exporter->_closeCount, 1);

	const Array<MediaStreamRef> loaded = TORVI_MUST(importer->GetOutputStreams(true));
	ASSERT_EQ(exporter->_seen.size(), loaded.size());
	for (std::size_t i = 0; i < loaded.size(); ++i)
	{
		const SeenStream& seen = exporter->_seen[i];
		const MediaStreamFormat format = GetFormatOf(loaded[i]);
		const auto parent = Cast<MediaStreamInterface>(loaded[i]->GetParent());
		EXPECT_EQ(seen._parent, parent ? GetFormatOf(parent)->GetOr<String>(ids::MEDIAFORMAT_STREAMNAME, {}).c_str() : "");
		EXPECT_EQ(seen._branch, loaded[i]->GetBranch());
		for (const DataDictionary::Entry& entry : format->InitIterator())
		{
			if (entry._key == ids::MEDIAFORMAT_HOTSPOTX) // a picture's own, not written
				continue;
			EXPECT_EQ(seen._format->GetData(entry._key).ValueOr(Data()), entry._value) << seen._name << " " << entry._key.GetText();
		}
		const Int width = format->GetOr<Int>(ids::MEDIAFORMAT_WIDTH, 0);
		const Int bytes = TORVI_MUST(format->Get<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT))->GetBytesPerLine(width, 1);
		EXPECT_EQ(seen._pixels, PushedPixels(bytes, format->GetOr<Int>(ids::MEDIAFORMAT_HEIGHT, 0))) << seen._name;
	}
	EXPECT_EQ(exporter->_seen[0]._format->GetOr<DataDictionary>(ids::MEDIAFORMAT_EXPORTSETTINGS, {}), settings);
	EXPECT_EQ(GetImages()[0]->GetOr<Int>(ids::IMAGE_HOTSPOTX, 0), 3);
}

// A file's own saving options are those of a later save of its texture: those of the first picture that is taken and has some.
TEST_F(TextureBridge, FilesKeepTheirSavingOptions)
{
	struct Case
	{
		const char* selected; ///< null: no layer set
		Id storage;
		Float64 quality; ///< of the texture
	};
	const Case cases[] = {{nullptr, {}, 1.0}, {"#3", {}, 2.0}, {nullptr, ids::IMAGEPIXELSTORAGECLASS_NODATA, 1.0}, {"#1", {}, -1.0}};
	const auto settingsOf = [](const auto& object)
	{ return object->template GetOr<DataDictionary>(ids::IMAGE_EXPORTSETTINGS, {}).template GetOr<Float64>(ids::EXPORT_QUALITY, -1.0); };
	AddHandler(MakeImporter(
		[](TestImporter& self) -> Result<void>
		{
			TORVI_TRY(PublishPictures(self, 3));
			const Array<MediaStreamRef> pictures = TORVI_TRY(self.GetOutputStreams(false));
			for (const std::size_t i : {1u, 2u})
			{
				DataDictionary settings;
				TORVI_TRY(settings.Set<Float64>(ids::EXPORT_QUALITY, static_cast<Float64>(i)));
				TORVI_TRY(GetFormatOf(pictures[i])->Set<DataDictionary>(ids::MEDIAFORMAT_EXPORTSETTINGS, std::move(settings)));
			}
			return OK;
		}));
	for (const Case& test : cases)
	{
		SCOPED_TRACE(test.selected != nullptr ? test.selected : "no layer set");
		_texture = TORVI_MUST(CreateObject<ImageTextureInterface>(ids::IMAGETEXTURECLASS_TEXTURE));
		LayerSet layerSet;
		if (test.selected != nullptr)
			TORVI_MUST(layerSet.SetSelectedImage(test.selected));
		ASSERT_EQ(ErrorOf(Load(MEDIASESSIONFLAGS::NONE, test.storage, test.selected != nullptr ? &layerSet : nullptr)), "");
		EXPECT_EQ(settingsOf(_texture), test.quality);
		if (test.selected == nullptr)
		{
			EXPECT_EQ(settingsOf(GetImages().at(0)), -1.0);
			EXPECT_EQ(settingsOf(GetImages().at(2)), 2.0);
		}
		if (test.storage.IsEmpty())
		{
			const auto exporter = TORVI_MUST(NewObject<TestExporter>());
			ASSERT_EQ(ErrorOf(_texture->Save(exporter, MEDIASESSIONFLAGS::NONE, nullptr)), "");
			EXPECT_EQ(exporter->_seen.at(0)
						  ._format->GetOr<DataDictionary>(ids::MEDIAFORMAT_EXPORTSETTINGS, {})
						  .GetOr<Float64>(ids::EXPORT_QUALITY, -1.0),
					  test.quality);
		}
	}
}

TEST_F(TextureBridge, SaveHandsTheSessionOutOrClosesIt)
{
	AddHandler(MakeImporter([](TestImporter& self) { return PublishPictures(self, 1); }));
	ASSERT_EQ(ErrorOf(Load()), "");
	const auto exporter = TORVI_MUST(NewObject<TestExporter>());
	MediaSessionRef session;
	ASSERT_EQ(ErrorOf(_texture->Save(exporter, MEDIASESSIONFLAGS::NONE, &session)), "");
	EXPECT_EQ(exporter->_closeCount, 0);
	EXPECT_EQ(exporter->GetSession(), session);
	EXPECT_EQ(ErrorOf(session->Convert(TimeValue(), MEDIASESSIONFLAGS::NONE)), "");
	EXPECT_EQ(exporter->_seen.size(), 1u) << "a second run publishes no doubles";
	session = nullptr;

	exporter->_fails = true;
	EXPECT_EQ(ErrorOf(_texture->Save(exporter, MEDIASESSIONFLAGS::NONE, &session)), "io: scripted");
	EXPECT_EQ(exporter->_closeCount, 1);
	EXPECT_FALSE(session);
}

TEST_F(TextureBridge, AHandlerThatRefusesLeavesNoTraceAndTheNextOneLoads)
{
	TORVI_MUST(_texture->Set<Float64>(ids::IMAGE_DPI, 300.0));
	const auto refusing = MakeImporter(&PublishLayers);
	refusing->_beforeExecute = []() -> Result<void> { return MediaSessionWrongTypeError("not mine"); };
	AddHandler(refusing);
	AddHandler(MakeImporter([](TestImporter& self) { return PublishPictures(self, 1); }));
	ASSERT_EQ(ErrorOf(Load()), "");
	ASSERT_EQ(GetImages().size(), 1u);
	EXPECT_EQ(NameOf(GetImages()[0]), "");
	EXPECT_EQ(_texture->GetOr<Float64>(ids::IMAGE_DPI, 0.0), 300.0);
	EXPECT_EQ(_texture->GetOr<FileFormatRef>(ids::IMAGE_FILEFORMAT, {}), _formats[1]);
}

TEST_F(TextureBridge, FailedLoadsNameTheirReason)
{
	Result<MediaSessionRef> result = Load();
	EXPECT_EQ(ErrorOf(result), "illegalargument: Image memory:picture is not of a supported type.");
	EXPECT_FALSE(result.GetError().GetCause());

	const auto importer = MakeImporter([](TestImporter&) -> Result<void> { return MediaSessionWrongTypeError("not mine"); });
	AddHandler(importer);
	result = Load();
	EXPECT_EQ(ErrorOf(result), "illegalargument: Image memory:picture is not of a supported type.");
	EXPECT_EQ(result.GetError().GetCause().GetMessage(), "not mine");
	importer->_publish = {}; // no streams at all
	EXPECT_EQ(Load().GetError().GetCause().GetId(), errorids::MEDIASESSIONWRONGTYPE);
	importer->_publish = [](TestImporter&) -> Result<void> { return FileFormatError("damaged"); };
	EXPECT_EQ(ErrorOf(Load()), "fileformat: damaged");
	_url = TORVI_MUST(Url::FromSystemPath("/nowhere/at/all.bmp"));
	EXPECT_EQ(Load().GetError().GetId(), errorids::IO);
	EXPECT_TRUE(GetImages().empty());
}

TEST_F(TextureBridge, AHandlerWithoutAnImporterIsANullPointer)
{
	AddHandler(TORVI_MUST(NewObject<AnyFormat>()));
	EXPECT_EQ(Load().GetError().GetId(), errorids::NULLPTR);
}

TEST_F(TextureBridge, APreferredHandlerGoesFirstAndIsTriedOnce)
{
	const auto first = MakeImporter([](TestImporter& self) { return PublishPictures(self, 1); });
	const auto second = MakeImporter([](TestImporter&) -> Result<void> { return MediaSessionWrongTypeError(); });
	AddHandler(first);
	const FileFormatHandlerRef preferred = AddHandler(second);
	const auto output = TORVI_MUST(CreateObject<MediaOutputTextureInterface>(ids::CLASS_MEDIAOUTPUTTEXTURE));
	TORVI_MUST(output->SetOutputTexture(_texture, TORVI_MUST(_services.GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL))));
	EXPECT_EQ(ErrorOf(MediaSessionImport(_url, {}, MEDIASESSIONFLAGS::NONE, output, {}, {}, preferred, {})), "");
	EXPECT_EQ(second->_calls, std::vector<std::string>{"Analyze"});
	EXPECT_EQ(first->_calls.size(), 3u);
	first->_publish = second->_publish;
	const auto refused = MediaSessionImport(_url, {}, MEDIASESSIONFLAGS::NONE, output, {}, {}, preferred, {});
	EXPECT_EQ(refused.GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(second->_calls.size(), 2u);
}

TEST_F(TextureBridge, ProgressStopsALoad)
{
	const auto importer = MakeImporter([](TestImporter& self) { return PublishPictures(self, 1); });
	importer->_beforeExecute = [&]() -> Result<void>
	{
		importer->GetSession()->GetProgress()->Cancel();
		return OK;
	};
	AddHandler(importer);
	EXPECT_EQ(Load().GetError().GetId(), errorids::OPERATIONCANCELLED);
	importer->_beforeExecute = {};
}

/// Runs the layered importer into a texture output with a handler that answers by the stream's name.
class Selection : public TextureBridge
{
protected:
	Result<void> Import(const std::function<MediaOutputSelectionResult(const std::string&)>& select)
	{
		_output = TORVI_MUST(CreateObject<MediaOutputTextureInterface>(ids::CLASS_MEDIAOUTPUTTEXTURE));
		TORVI_TRY(_output->SetOutputTexture(_texture, TORVI_TRY(_services.GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL))));
		TORVI_TRY(_output->SetSelectionHandler(
			[&select](const MediaStreamRef&, const MediaStreamFormat& format) -> Result<MediaOutputSelectionResult>
			{ return select(format->GetOr<String>(ids::MEDIAFORMAT_STREAMNAME, {}).c_str()); }));
		_session = MakeSession();
		TORVI_TRY(_session->ConnectMediaConverter(_importer, _output));
		return ConvertAll(_session);
	}
	void TearDown() override
	{
		_session = nullptr;
		_output = nullptr;
		_importer = nullptr;
		TextureBridge::TearDown();
	}

	Ref<TestImporter> _importer = MakeImporter(&PublishLayers);
	MediaOutputTextureRef _output;
	MediaSessionRef _session;
};

TEST_F(Selection, ALayerOfARefusedParentHangsInTheTexture)
{
	ASSERT_EQ(ErrorOf(Import([](const std::string& name)
							 { return name == "layer" ? MediaOutputSelectionResult::SELECTALL : MediaOutputSelectionResult::SELECTNONE; })),
			  "");
	ASSERT_EQ(GetImages().size(), 1u);
	EXPECT_EQ(NameOf(GetImages()[0]), "layer");
	EXPECT_EQ(ReadOwnBytes(GetImages()[0]), PushedPixels(6, 2));
}

TEST_F(Selection, RefusingEverythingIsNoError)
{
	EXPECT_EQ(ErrorOf(Import([](const std::string&) { return MediaOutputSelectionResult::SELECTNONE; })), "");
	EXPECT_TRUE(GetImages().empty());
}

TEST_F(Selection, PixelsAloneBuildTheirObjectWhenTheyCome)
{
	ASSERT_EQ(ErrorOf(Import([](const std::string&) { return MediaOutputSelectionResult::SELECTPIXELS; })), "");
	ASSERT_EQ(GetImages().size(), 1u);
	EXPECT_EQ(ReadOwnBytes(GetImages()[0]), PushedPixels(12, 3));
	EXPECT_EQ(GetImageChildren(*GetImages()[0], IMAGEHIERARCHY::ALPHA).size(), 1u);
}

TEST_F(Selection, StreamTypesWithoutAPlaceEndTheLoad)
{
	_importer->_publish = [](TestImporter& self) -> Result<void>
	{
		const auto image = Named(MakeStream(MediaStreamType::IMAGE), "image");
		Below(image, Named(MakeStream(MediaStreamType::MIPMAP, 2, 1), "mipmap"), 3);
		return self.AddOutputStream(image);
	};
	const auto all = [](const std::string&) { return MediaOutputSelectionResult::SELECTALL; };
	EXPECT_EQ(ErrorOf(Import(all)), "mediaconverter: ");

	_importer->_publish = [](TestImporter& self) -> Result<void>
	{
		const auto plain = TORVI_TRY(CreateObject<MediaStreamInterface>(ids::CLASS_MEDIASTREAMBASE));
		TORVI_TRY(plain->AddFormat(TORVI_TRY(Data::Make<Int>(0)), GetFormatOf(Named(MakeStream(MediaStreamType::IMAGE), "plain"))));
		Below(plain, Named(MakeStream(MediaStreamType::RASTERLAYER), "layer"), 3);
		return self.AddOutputStream(plain);
	};
	TORVI_MUST(_importer->ConnectToSession({}));
	EXPECT_EQ(ErrorOf(Import(all)), "mediaconverter: Parent stream not found.");
}

TEST_F(Selection, WrongKeysEndTheLoad)
{
	struct Case
	{
		const char* what;
		std::function<Result<void>(const MediaStreamFormat&)> spoil;
		Id error;
	};
	const Case cases[] = {
		{"no width", [](const MediaStreamFormat& format) { return format->EraseData(ids::MEDIAFORMAT_WIDTH); }, errorids::KEYNOTFOUND},
		{"no pixel format", [](const MediaStreamFormat& format) { return format->EraseData(ids::MEDIAFORMAT_PIXELFORMAT); },
		 errorids::KEYNOTFOUND},
		{"a null pixel format", [](const MediaStreamFormat& format) { return format->Set<PixelFormat>(ids::MEDIAFORMAT_PIXELFORMAT, {}); },
		 errorids::NULLPTR},
		{"a name of another type", [](const MediaStreamFormat& format) { return format->Set<Int>(ids::MEDIAFORMAT_STREAMNAME, 1); },
		 errorids::WRONGDATATYPE},
		{"a hot spot of another type", [](const MediaStreamFormat& format) { return format->Set<Float64>(ids::MEDIAFORMAT_HOTSPOTY, 1.0); },
		 errorids::WRONGDATATYPE},
	};
	for (const Case& test : cases)
	{
		_importer = MakeImporter(
			[&test](TestImporter& self) -> Result<void>
			{
				const auto stream = MakeStream(MediaStreamType::IMAGE);
				TORVI_TRY(test.spoil(GetFormatOf(stream)));
				return self.AddOutputStream(stream);
			});
		const Result<void> result = Import([](const std::string&) { return MediaOutputSelectionResult::SELECTALL; });
		EXPECT_EQ(result.GetError().GetId(), test.error) << test.what;
	}
}

TEST_F(Selection, NothingIsHeldAfterTheSession)
{
	ASSERT_EQ(ErrorOf(Import([](const std::string&) { return MediaOutputSelectionResult::SELECTALL; })), "");
	const Array<MediaStreamRef> streams = TORVI_MUST(_importer->GetOutputStreams(false));
	const WeakRef<MediaOutputTextureInterface> output(_output);
	const WeakRef<MediaSessionInterface> session(_session);
	_output = nullptr;
	_session = nullptr;
	EXPECT_FALSE(session.Lock());
	EXPECT_FALSE(output.Lock()) << "the callbacks of the streams hold the output";
	// The streams still stand; without their output they go nowhere.
	EXPECT_EQ(ErrorOf(Cast<MediaStreamImageDataImportInterface>(streams[0])->InitStream({})), "");
}

TEST_F(TextureBridge, ExifReachesTheTexture)
{
	class Exif final : public DataDictionaryObjectImpl, public virtual ExifInterface
	{
	public:
		Result<DataDictionary> GetExifDictionary() const override { return DataDictionary(); }
	};
	const ExifRef exif = TORVI_MUST(NewObject<Exif>());
	MediaStreamExifDataRef stream;
	AddHandler(MakeImporter(
		[&](TestImporter& self) -> Result<void>
		{
			stream = TORVI_TRY(CreateObject<MediaStreamExifDataInterface>(ids::CLASS_MEDIASTREAMEXIFDATA));
			const auto format = TORVI_TRY(CreateObject<MediaStreamFormatInterface>(ids::CLASS_MEDIASTREAMFORMAT));
			TORVI_TRY(stream->AddFormat(TORVI_TRY(Data::Make<Int>(0)), format));
			TORVI_TRY(self.AddOutputStream(stream));
			return PublishPictures(self, 1);
		}));
	ASSERT_EQ(ErrorOf(Load(MEDIASESSIONFLAGS::NONE, ids::IMAGEPIXELSTORAGECLASS_NODATA)), "");
	EXPECT_TRUE(stream->IsSubscribed());
	EXPECT_EQ(ErrorOf(stream->HandleExifData(exif)), "");
	EXPECT_EQ(_texture->GetOr<ExifRef>(ids::IMAGE_EXIFDATA, {}), exif);
}

} // namespace
} // namespace torvi::test
