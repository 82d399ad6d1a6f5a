// How textures reach the session: load and save, as the object that images ask for them.
#include "host/module.h"
#include "mediasession/mediasession_imagetexture_selection.h"
#include "mediasession/registration.h"
#include "torvi/ids_keys.h"
#include "torvi/mediasession_fileformats.h"

namespace torvi
{

namespace
{

class MediaTextureBridgeImpl final : public MediaTextureBridgeInterface
{
public:
	Result<MediaSessionRef> Load(const ImageTextureRef& texture, const Url& url, const TimeValue& targetTime, MEDIASESSIONFLAGS flags,
								 const ClassRef& storageClass, const LayerSet* layerSet) override;
	Result<void> Save(const ImageTextureRef& texture, const MediaOutputUrlRef& output, MEDIASESSIONFLAGS flags,
					  MediaSessionRef* session) override;
};

Result<MediaSessionRef> LoadInto(const ImageTextureRef& texture, const Url& url, const TimeValue& targetTime, MEDIASESSIONFLAGS flags,
								 const ClassRef& storageClass, const LayerSet* layerSet)
{
	TORVI_CHECK(texture, NullptrError());
	const auto output = TORVI_TRY(CreateObject<MediaOutputTextureInterface>(ids::CLASS_MEDIAOUTPUTTEXTURE));
	TORVI_TRY(output->SetOutputTexture(texture, storageClass));
	const MediaSelectionHandler selection = TORVI_TRY(MakeTextureSelectionHandler(*storageClass, layerSet));
	Array<FileFormatHandlerRef> accepted;
	const MediaFoundDelegate found = [&accepted](const FileFormatHandlerRef& handler) -> Result<void>
	{
		accepted.push_back(handler);
		return OK;
	};
	const MediaSessionRef session = TORVI_TRY(MediaSessionImport(url, targetTime, flags, output, selection, {}, {}, found));
	if (!accepted.empty())
		TORVI_TRY(texture->Set<FileFormatRef>(ids::IMAGE_FILEFORMAT, TORVI_TRY(accepted.front()->GetFileFormat())));
	return session;
}

Result<MediaSessionRef> MediaTextureBridgeImpl::Load(const ImageTextureRef& texture, const Url& url, const TimeValue& targetTime,
													 MEDIASESSIONFLAGS flags, const ClassRef& storageClass, const LayerSet* layerSet)
{
	return NoThrow(
		[&]() -> Result<MediaSessionRef>
		{
			if (storageClass)
				return LoadInto(texture, url, targetTime, flags, storageClass, layerSet);
			return LoadInto(texture, url, targetTime, flags, TORVI_TRY(g_torvi->GetClass(ids::IMAGEPIXELSTORAGECLASS_NORMAL)), layerSet);
		});
}

Result<MediaSessionRef> ConnectExport(const ImageTextureRef& texture, const MediaOutputUrlRef& output)
{
	TORVI_CHECK(texture, NullptrError());
	const auto input = TORVI_TRY(CreateObject<MediaTextureExportInterface>(ids::CLASS_MEDIASTREAMEXPORTFROMIMAGETEXTURE));
	input->SetTexture(texture);
	MediaSessionRef session = TORVI_TRY(CreateObject<MediaSessionInterface>(ids::CLASS_MEDIASESSIONOBJECT));
	TORVI_TRY(session->ConnectMediaConverter(input, output));
	return session;
}

Result<void> MediaTextureBridgeImpl::Save(const ImageTextureRef& texture, const MediaOutputUrlRef& output, MEDIASESSIONFLAGS flags,
										  MediaSessionRef* session)
{
	MediaSessionRef own = TORVI_TRY(ConnectExport(texture, output));
	Result<void> result = own->Convert(TimeValue(), flags);
	if (result.IsOk() && session != nullptr)
	{
		*session = std::move(own);
		return OK;
	}
	Result<void> closed = own->Close(); // also after an error, which is the one that counts
	return result.IsOk() ? std::move(closed) : std::move(result);
}

} // namespace

Result<void> RegisterMediaTextureBridge(Module& module)
{
	return module.GetHost().DeclareObject(ids::INTERFACE_MEDIATEXTUREBRIDGE, TORVI_TRY(NewObject<MediaTextureBridgeImpl>()));
}

} // namespace torvi
