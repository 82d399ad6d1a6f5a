// Layer sets in their stored form. What opens is written, and read again it is the same.
#include "fuzz/target.h"
#include "torvi/layerset.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const torvi::Byte* data, std::size_t size)
{
	using namespace torvi;
	fuzz::PrepareModule();
	LayerSet opened;
	DataSerializeReader reader({data, size});
	if (!opened.DescribeIO(reader).IsOk())
		return 0;
	static_cast<void>(opened.ToString());

	DataSerializeWriter written;
	fuzz::Require(opened.DescribeIO(written).IsOk(), "A layer set can be stored.");
	LayerSet again;
	DataSerializeReader writtenReader(written.GetBytes());
	fuzz::Require(again.DescribeIO(writtenReader).IsOk(), "A stored layer set can be read.");
	fuzz::Require(again == opened && again.GetHashCode() == opened.GetHashCode(), "A layer set comes back as it was stored.");

	DataSerializeWriter writtenAgain;
	fuzz::Require(again.DescribeIO(writtenAgain).IsOk(), "A layer set can be stored twice.");
	fuzz::Require(std::ranges::equal(written.GetBytes(), writtenAgain.GetBytes()), "Equal layer sets have equal stored forms.");
	return 0;
}
