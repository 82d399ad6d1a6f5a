// The media session: inputs that have pictures or sound, outputs that want them, and the session that connects them and drives them through
// Analyze, PrepareExecute, Execute and Close. A session and its converters are used from one thread at a time.
#pragma once

#include "host/observable.h"
#include "host/progress.h"
#include "host/timevalue.h"
#include "torvi/gfx_image.h"
#include "torvi/mediasession_errors.h"
#include "torvi/mediasession_stream.h"

namespace torvi
{

class MediaBaseInterface;
class MediaConverterInterface;
class MediaInputInterface;
class MediaOutputInterface;
class MediaOutputTextureInterface;

using MediaBaseRef = Ref<MediaBaseInterface>;
using MediaConverterRef = Ref<MediaConverterInterface>;
using MediaInputRef = Ref<MediaInputInterface>;
using MediaOutputRef = Ref<MediaOutputInterface>;
using MediaOutputTextureRef = Ref<MediaOutputTextureInterface>;

enum class MEDIASESSIONFLAGS : UInt32
{
	NONE = 0,
	RUNONLYANALYZE = 1, ///< stop after Analyze
	FORCELOAD = 2,      ///< an input delivers even the sample that it delivered last
};

constexpr Bool HasFlag(MEDIASESSIONFLAGS flags, MEDIASESSIONFLAGS flag)
{
	return (static_cast<UInt32>(flags) & static_cast<UInt32>(flag)) != 0;
}

/// What an output wants of a stream; values add up.
enum class MediaOutputSelectionResult : UInt32
{
	SELECTNONE = 0,
	SELECTSTRUCTURE = 1, ///< build the stream's object, without pixels
	SELECTPIXELS = 2,    ///< subscribe and receive the pixels
	SELECTALL = 3,
};

constexpr Bool HasFlag(MediaOutputSelectionResult result, MediaOutputSelectionResult flag)
{
	return (static_cast<UInt32>(result) & static_cast<UInt32>(flag)) != 0;
}

using MediaSelectionHandler = Delegate<Result<MediaOutputSelectionResult>(const MediaStreamRef& stream, const MediaStreamFormat& format)>;

class TORVI_EXPORT MediaSessionInterface : public virtual ObserverObjectInterface
{
public:
	/// Connects an input to an output. IllegalArgumentError for null or equal converters and for one that is part of another living
	/// session; IllegalStateError where their strategies do not fit. Nothing changes on failure.
	virtual Result<void> ConnectMediaConverter(const MediaConverterRef& input, const MediaConverterRef& output) = 0;
	/// Runs the stages; the first error ends it. May be called again with another time.
	virtual Result<void> Convert(const TimeValue& targetTime, MEDIASESSIONFLAGS flags) = 0;
	/// Closes each output; the first error ends it.
	virtual Result<void> Close() = 0;
	virtual ProgressRef GetProgress() const = 0;
	/// A copy of the inputs that are connected to an output; empty for one that is not here.
	virtual Array<MediaConverterRef> GetInputConverters(const MediaConverterInterface& output) const = 0;
};

class TORVI_EXPORT MediaBaseInterface : public virtual DataDictionaryObjectInterface
{
public:
	/// Links to a session, weakly; null clears the link. IllegalStateError while another session that it is linked to lives.
	virtual Result<void> ConnectToSession(const MediaSessionRef& session) = 0;
	/// Null without a living session.
	virtual MediaSessionRef GetSession() const = 0;
};

class TORVI_EXPORT MediaConverterInterface : public virtual MediaBaseInterface
{
public:
	virtual Bool SupportImportStrategy() const = 0;
	virtual Bool SupportExportStrategy() const = 0;
	/// The inputs that the session has connected to this converter; only inside a stage.
	virtual Result<Array<MediaConverterRef>> GetInputConverter() const = 0;
	virtual Result<void> AddOutputStream(const MediaStreamRef& stream) = 0;
	virtual Result<void> RemoveOutputStream(const MediaStreamRef& stream) = 0;
	/// The top-level streams, or with `recursive` all streams, each parent before its children.
	virtual Result<Array<MediaStreamRef>> GetOutputStreams(Bool recursive) const = 0;
	virtual Result<void> Analyze(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) = 0;
	virtual Result<void> PrepareExecute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) = 0;
	virtual Result<void> Execute(Block<const MediaConverterRef> inputs, const TimeValue& targetTime, MEDIASESSIONFLAGS flags) = 0;
	virtual Result<void> Close(Block<const MediaConverterRef> inputs) = 0;
};

class TORVI_EXPORT MediaInputInterface : public virtual MediaConverterInterface
{
};

class TORVI_EXPORT MediaOutputInterface : public virtual MediaConverterInterface
{
public:
	/// Makes the output fresh for another run; FunctionNotImplementedError for outputs that cannot be used again.
	virtual Result<void> ResetConverter() = 0;
	virtual Result<void> SetSelectionHandler(const MediaSelectionHandler& handler) = 0;
	virtual MediaSelectionHandler GetSelectionHandler() const = 0;
	/// SELECTALL without a handler.
	virtual Result<MediaOutputSelectionResult> CallSelectionHandler(const MediaStreamRef& stream,
																	const MediaStreamFormat& format) const = 0;
};

/// Turns streams into images and layers of a texture.
class TORVI_EXPORT MediaOutputTextureInterface : public virtual MediaOutputInterface
{
public:
	/// `storageClass` is a class of ids::REGISTRY_IMAGEPIXELSTORAGECLASSES.
	virtual Result<void> SetOutputTexture(const ImageTextureRef& texture, const ClassRef& storageClass) = 0;
};

/// Offers the tree of a texture as streams, from which a file exporter pulls its lines: ids::CLASS_MEDIASTREAMEXPORTFROMIMAGETEXTURE.
/// Connected to an exporter in a session, it saves as ImageTextureInterface::Save does, and the session's progress can be watched.
class TORVI_EXPORT MediaTextureExportInterface : public virtual MediaInputInterface
{
public:
	/// Before the first Analyze.
	virtual void SetTexture(const ImageTextureRef& texture) = 0;
};

/// Writes a file.
class TORVI_EXPORT MediaOutputUrlInterface : public virtual MediaOutputInterface
{
public:
	virtual Url GetOutputUrl() const = 0;
	/// Opens nothing; an empty Url fails in Execute.
	virtual Result<void> SetOutputUrl(const Url& url) = 0;
	virtual Result<FileFormatRef> GetFileFormat() const = 0;
	/// Called with the settings while the platform edits them.
	using EditDelegate = Delegate<Result<void>(const DataDictionary& settings)>;
	/// Lets the platform edit the settings that only it knows. FunctionNotImplementedError unless the exporter answers
	/// supports_systemoptions.
	virtual Result<Bool> EditSystemOptions(DataDictionary& settings, const EditDelegate& changed) = 0;
	/// The smallest size at or above `size` that the format stores under these settings.
	virtual Result<DrawDimensionInt> CheckBitmapSize(const DataDictionary& settings, const DrawDimensionInt& size) const = 0;
};

/// Called with the progress of the running session.
using MediaProgressDelegate = Delegate<Result<void>(const ProgressRef& progress)>;
/// Called with each handler that was accepted.
using MediaFoundDelegate = Delegate<Result<void>(const FileFormatHandlerRef& handler)>;

/// Finds the handler that takes `url`, makes its importer, connects it to `output` in a session of its own and runs it; gives the session.
/// Handler, delegates and progress may be unset. A handler whose importer says that the file is not of its type is passed over.
/// IllegalArgumentError "Image @ is not of a supported type." with the last importer's error as cause; any other error of an importer ends
/// the search and is given as it is.
TORVI_EXPORT Result<MediaSessionRef> MediaSessionImport(const Url& url, const TimeValue& targetTime, MEDIASESSIONFLAGS flags,
														const MediaOutputRef& output, const MediaSelectionHandler& selectionHandler,
														const MediaProgressDelegate& progress, const FileFormatHandlerRef& preferredHandler,
														const MediaFoundDelegate& found);

/// Static: how textures reach the session; declared under ids::INTERFACE_MEDIATEXTUREBRIDGE.
class TORVI_EXPORT MediaTextureBridgeInterface : public virtual ObjectInterface
{
public:
	/// As ImageTextureInterface::Load and Save, on `texture`.
	virtual Result<MediaSessionRef> Load(const ImageTextureRef& texture, const Url& url, const TimeValue& targetTime,
										 MEDIASESSIONFLAGS flags, const ClassRef& storageClass, const LayerSet* layerSet) = 0;
	virtual Result<void> Save(const ImageTextureRef& texture, const MediaOutputUrlRef& output, MEDIASESSIONFLAGS flags,
							  MediaSessionRef* session) = 0;
};

namespace ids
{
inline constexpr Id INTERFACE_MEDIATEXTUREBRIDGE = "net.torvi.image.interface.mediatexturebridge";
inline constexpr Id CLASS_MEDIASESSIONOBJECT = "net.torvi.image.class.mediasessionobject";
inline constexpr Id CLASS_MEDIASESSIONPROGRESSOBJECT = "net.torvi.image.class.mediasessionprogressobject";
inline constexpr Id CLASS_MEDIABASE = "net.torvi.image.class.mediabase";
inline constexpr Id CLASS_MEDIACONVERTERBASE = "net.torvi.image.class.mediaconverterbase";
inline constexpr Id CLASS_MEDIAOUTPUTBASE = "net.torvi.image.class.mediaoutputbase";
inline constexpr Id CLASS_MEDIAOUTPUTURLBASE = "net.torvi.image.class.mediaoutputurlbase";
inline constexpr Id CLASS_MEDIAOUTPUTTEXTURE = "net.torvi.image.class.mediaoutputtexture";
inline constexpr Id CLASS_MEDIASTREAMEXPORTFROMIMAGETEXTURE = "net.torvi.image.class.mediastreamexportfromimagetexture";
} // namespace ids

} // namespace torvi

TORVI_DATATYPE(torvi::MediaInputRef, "net.torvi.image.interface.mediainput")
