// Registration of the stored descriptions: their text becomes a file in memory.
#include "module/descriptions.h"

#include "host/description.h"
#include "host/iomemory.h"

namespace torvi
{

Result<void> RegisterDescriptions(Module&)
{
	return NoThrow(
		[&]() -> Result<void>
		{
			const std::string_view text = GetDescriptionsText();
			const Ref<IoMemory> file = TORVI_TRY(NewObject<IoMemory>(Array<Byte>(text.begin(), text.end())));
			const Url url = TORVI_TRY(file->GetUrl("net.torvi.image/descriptions.json"));
			return DataDescriptionDatabase::RegisterDatabaseWithUrl(Id("net.torvi.image.module"), url);
		});
}

} // namespace torvi
