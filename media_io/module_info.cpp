// The dictionaries that describe libraries.
#include "media_io/module_info.h"

#include "host/ids.h"

namespace torvi
{

Result<void> RegisterModuleInfo(Module& module, const Id& id, std::string_view name, std::string_view description, std::string_view version)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			const Ref<DataDictionaryObjectImpl> info = TORVI_TRY(NewObject<DataDictionaryObjectImpl>());
			TORVI_TRY(info->Set<String>(ids::MODULEVERSIONINFO_MODULENAME, MakeString(name)));
			TORVI_TRY(info->Set<String>(ids::MODULEVERSIONINFO_DESCRIPTION, MakeString(description)));
			TORVI_TRY(info->Set<String>(ids::MODULEVERSIONINFO_VERSIONNUMBERSTRING, MakeString(version)));
			return module.AddObject(ids::REGISTRY_MODULEINFO, id, info);
		});
}

} // namespace torvi
