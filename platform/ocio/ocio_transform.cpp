// Making transforms by name.
#include "platform/ocio/ocio_transform.h"

#include "platform/ocio/ocio_nesting.h"

namespace torvi
{

Result<ocio::ConstProcessorRcPtr> MakeOcioTransform(const ocio::ConstConfigRcPtr& config, const OcioTransformNames& names)
{
	return CallOcio(
		[&]() -> Result<ocio::ConstProcessorRcPtr>
		{
			TORVI_CHECK(names._source != nullptr && names._destination != nullptr, NullptrError("A conversion needs two names."));
			TORVI_TRY(CheckOcioNesting(*config, names));
			if (names._view != nullptr)
			{
				const auto direction = names._isReverse ? ocio::TRANSFORM_DIR_INVERSE : ocio::TRANSFORM_DIR_FORWARD;
				return config->getProcessor(names._source, names._destination, names._view, direction);
			}
			return names._isReverse ? config->getProcessor(names._destination, names._source)
									: config->getProcessor(names._source, names._destination);
		});
}

} // namespace torvi
