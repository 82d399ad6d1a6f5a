// Copy on write with readers on other threads.
#include "tests/image/image_test.h"
#include "tests/support/together.h"

#include <mutex>

namespace torvi
{

namespace
{

/// What everybody looks at, replaced as a whole.
class PublishedImage
{
public:
	explicit PublishedImage(ImageRef image) : _image(std::move(image)) {}
	ImageRef Get()
	{
		const std::lock_guard guard(_lock);
		return _image;
	}
	void Set(const ImageRef& image)
	{
		const std::lock_guard guard(_lock);
		_image = image;
	}

private:
	std::mutex _lock;
	ImageRef _image;
};

using ImageThreadsTest = ImageTest;

/// One thread changes clones of what the others read, and shows each when it is done. Every reader finds one version in all lines.
TEST_F(ImageThreadsTest, ReadersSeeWholeVersions)
{
	constexpr Int WIDTH = 50;
	constexpr Int HEIGHT = 12;
	constexpr int VERSIONS = 120;
	PublishedImage published(MakeImage(WIDTH, HEIGHT));
	std::atomic<bool> isDone = false;
	const auto write = [&]()
	{
		for (int version = 1; version <= VERSIONS; ++version)
		{
			const ImageRef clone = Cast<ImageInterface>(Must(published.Get()->CloneObject()));
			for (Int y = 0; y < HEIGHT; ++y)
				WriteBytes(*clone, {0, y, WIDTH}, Array<Byte>(WIDTH, static_cast<Byte>(version)));
			published.Set(clone);
		}
		isDone = true;
	};
	const auto read = [&]()
	{
		Byte last = 0;
		do
		{
			const ImageRef image = published.Get();
			const Array<Byte> first = ReadBytes(*image, {0, 0, WIDTH});
			EXPECT_GE(first[0], last) << "versions do not come back";
			last = first[0];
			EXPECT_EQ(first, Array<Byte>(WIDTH, last));
			for (Int y = 1; y < HEIGHT; ++y)
				EXPECT_EQ(ReadBytes(*image, {0, y, WIDTH}), first) << "line " << y << " of version " << int(last);
		} while (!isDone);
	};
	test::RunTogether(4, [&](std::size_t thread) { thread == 0 ? write() : read(); });
	EXPECT_EQ(ReadBytes(*published.Get(), {0, HEIGHT - 1, 1}), Array<Byte>{VERSIONS});
}

} // namespace

} // namespace torvi
