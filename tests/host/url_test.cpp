// Urls as values, and what opening them gives.
#include "host/iomemory.h"

#include "tests/support/allocation_failure.h"

#include <gtest/gtest.h>

namespace torvi
{
namespace
{

Url FileUrl(std::string_view path)
{
	return TORVI_MUST(Url::FromSystemPath(path));
}

TEST(Url, TakesPathsApart)
{
	struct Case
	{
		std::string_view _path, _name, _directory, _renamed, _appended;
	};
	constexpr Case CASES[] = {
		{"/a/b.bmp", "b.bmp", "/a", "/a/x", "/a/b.bmp/x"},
		{"/b", "b", "/", "/x", "/b/x"},
		{"b", "b", "", "x", "b/x"},
		{"a/b/", "", "a/b", "a/b/x", "a/b/x"},
		{"a//b", "b", "a", "a//x", "a//b/x"},
		{"/", "", "/", "/x", "/x"},
		{"", "", "", "x", "x"},
	};
	for (const Case& test : CASES)
	{
		SCOPED_TRACE(test._path);
		const Url url = FileUrl(test._path);
		EXPECT_EQ(url.GetName(), test._name);
		EXPECT_EQ(TORVI_MUST(TORVI_MUST(url.GetDirectory()).GetSystemPath()), test._directory);
		Url renamed = url;
		ASSERT_TRUE(renamed.SetName("x").IsOk());
		EXPECT_EQ(TORVI_MUST(renamed.GetSystemPath()), test._renamed);
		Url appended = url;
		ASSERT_TRUE(appended.Append("x").IsOk());
		EXPECT_EQ(TORVI_MUST(appended.GetSystemPath()), test._appended);
	}
}

TEST(Url, ChecksSuffixesWithoutCase)
{
	EXPECT_TRUE(FileUrl("/a/b.BMP").CheckSuffix("bmp"));
	EXPECT_TRUE(FileUrl("b.tar.gz").CheckSuffix("GZ"));
	EXPECT_FALSE(FileUrl("/a.bmp/b").CheckSuffix("bmp"));
	EXPECT_FALSE(FileUrl("bmp").CheckSuffix("bmp"));
	EXPECT_FALSE(FileUrl("b.xbmp").CheckSuffix("bmp"));
	EXPECT_FALSE(Url().CheckSuffix("bmp"));
}

TEST(Url, ComparesSchemePathAndProvider)
{
	const Url first = TORVI_MUST(TORVI_MUST(NewObject<IoMemory>())->GetUrl("name"));
	const Url second = TORVI_MUST(TORVI_MUST(NewObject<IoMemory>())->GetUrl("name"));
	EXPECT_NE(first, second); // other bytes under the same name
	EXPECT_EQ(first, Url(first));
	EXPECT_EQ(first.GetHashCode(), Url(first).GetHashCode());
	EXPECT_NE(first, FileUrl("name"));
	EXPECT_EQ(FileUrl("name"), FileUrl("name"));
	EXPECT_TRUE(FileUrl("a").Compare(FileUrl("b")) < 0);
	EXPECT_EQ(first.ToString(), "memory:name");
	EXPECT_EQ(FileUrl("/a/b").ToString(), "/a/b");
}

TEST(Url, RefusesWhatItCannotOpen)
{
	EXPECT_EQ(Url().OpenInputStream().GetError().GetId(), errorids::ILLEGALARGUMENT);
	EXPECT_EQ(Url().OpenOutputStream().GetError().GetId(), errorids::ILLEGALARGUMENT);
	const Url unknown = TORVI_MUST(Url::Make("unknown", "x", UrlProviderRef()));
	EXPECT_EQ(unknown.OpenInputStream().GetError().GetMessage(), "The scheme \"unknown\" has no provider.");
	EXPECT_EQ(unknown.GetSystemPath().GetError().GetId(), errorids::ILLEGALSTATE);
	EXPECT_EQ(FileUrl(std::string_view("a\0b", 3)).OpenInputStream().GetError().GetId(), errorids::ILLEGALARGUMENT);
}

TEST(Url, MemoryUrlKeepsItsBytesAlive)
{
	const Url url = TORVI_MUST(TORVI_MUST(NewObject<IoMemory>(Array<Byte>{1, 2, 3}))->GetUrl());
	Byte bytes[4];
	EXPECT_EQ(TORVI_MUST(TORVI_MUST(url.OpenInputStream())->ReadEOS(bytes)), 3);
}

TEST(Url, HoldsWithoutMemory)
{
	const std::string_view path = "/a/path/that/is/longer/than/short/strings/hold";
	const auto operation = [&]() -> Result<Url>
	{
		Url url = TORVI_TRY(Url::FromSystemPath(path));
		TORVI_TRY(url.Append("another name that takes room of its own"));
		TORVI_TRY(url.SetName("and one more that is not short either, but longer than the one before it"));
		return TORVI_TRY(url.GetDirectory());
	};
	Int failures = 0;
	test::ForEachAllocationFailure(operation,
								   [&](const Result<Url>& result, Bool hasFailed)
								   {
									   failures += hasFailed ? 1 : 0;
									   EXPECT_EQ(result.IsOk(), !hasFailed);
									   EXPECT_TRUE(result.IsOk() || result.GetError().GetId() == errorids::OUTOFMEMORY);
								   });
	EXPECT_GT(failures, 0);
}

} // namespace
} // namespace torvi
