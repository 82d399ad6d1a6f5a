// Building blocks of colour spaces.
#include "platform/ocio/ocio_spaces.h"

namespace torvi
{

namespace
{

ocio::TransformRcPtr MakeMatrix(const double (&rows)[9])
{
	const double matrix[16] = {rows[0], rows[1], rows[2], 0, rows[3], rows[4], rows[5], 0, rows[6], rows[7], rows[8], 0, 0, 0, 0, 1};
	const ocio::MatrixTransformRcPtr transform = ocio::MatrixTransform::Create();
	transform->setMatrix(matrix);
	return transform;
}

/// From the colour space to the reference; an empty group for the space that is the reference.
ocio::TransformRcPtr ToReference(const ocio::ColorSpace& space)
{
	if (const ocio::ConstTransformRcPtr transform = space.getTransform(ocio::COLORSPACE_DIR_TO_REFERENCE))
		return transform->createEditableCopy();
	const ocio::ConstTransformRcPtr transform = space.getTransform(ocio::COLORSPACE_DIR_FROM_REFERENCE);
	if (!transform)
		return ocio::GroupTransform::Create();
	ocio::TransformRcPtr inverse = transform->createEditableCopy();
	inverse->setDirection(ocio::GetInverseTransformDirection(inverse->getDirection()));
	return inverse;
}

Bool IsTaken(const ocio::Config& config, const char* name)
{
	return config.getColorSpace(name) || config.getNamedTransform(name) || config.getDisplayAllByName(name) >= 0;
}

} // namespace

ocio::TransformRcPtr MakeSrgbCurve(ocio::TransformDirection direction)
{
	const ocio::ExponentWithLinearTransformRcPtr curve = ocio::ExponentWithLinearTransform::Create();
	curve->setGamma({2.4, 2.4, 2.4, 1});
	curve->setOffset({0.055, 0.055, 0.055, 0});
	curve->setNegativeStyle(ocio::NEGATIVE_LINEAR);
	curve->setDirection(direction);
	return curve;
}

ocio::TransformRcPtr MakeMatrixFromXyz()
{
	return MakeMatrix({3.2409699419045226, -1.5373831775700939, -0.4986107602930034, -0.9692436362808796, 1.8759675015077202,
					   0.0415550574071756, 0.0556300796969937, -0.2039769588889766, 1.0569715142428786});
}

ocio::TransformRcPtr MakeMatrixToAces()
{
	return MakeMatrix({0.43963298, 0.38298870, 0.17737832, 0.08977644, 0.81343943, 0.09678413, 0.01754117, 0.11154655, 0.87091228});
}

void AddSpaceOver(ocio::Config& config, const char* name, const ocio::ColorSpace& base, const ocio::TransformRcPtr& toBase)
{
	const ocio::GroupTransformRcPtr toReference = ocio::GroupTransform::Create();
	toReference->appendTransform(toBase);
	toReference->appendTransform(ToReference(base));
	const ocio::ColorSpaceRcPtr space = ocio::ColorSpace::Create(base.getReferenceSpaceType());
	space->setName(name);
	space->setTransform(toReference, ocio::COLORSPACE_DIR_TO_REFERENCE);
	config.addColorSpace(space);
}

String MakeUniqueSpaceName(const ocio::Config& config, std::string_view name)
{
	String unique = MakeString(name);
	for (Int number = 2; IsTaken(config, unique.c_str()); ++number)
		unique = Format("@ (@)", name, number);
	return unique;
}

} // namespace torvi
