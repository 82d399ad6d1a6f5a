// Loads libtorvi_image.so at run time and looks up what hosts rely on. Links nothing of the library.
#include "torvi/version.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

namespace
{

class SharedLibrary : public testing::Test
{
protected:
	void SetUp() override
	{
		_handle = dlopen(TORVI_SHARED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
		ASSERT_NE(_handle, nullptr) << dlerror();
	}

	void TearDown() override
	{
		if (_handle)
			dlclose(_handle);
	}

	template <class Function>
	Function* Find(const char* name) const
	{
		return reinterpret_cast<Function*>(dlsym(_handle, name));
	}

private:
	void* _handle = nullptr;
};

TEST_F(SharedLibrary, CarriesTheVersionOfTheHeaders)
{
	auto* version = Find<const char*()>("_ZN5torvi17GetLibraryVersionEv");
	ASSERT_NE(version, nullptr);
	EXPECT_STREQ(version(), torvi::VERSION_TEXT);
}

// Other modules of the host use the same libpng through our handle.
TEST_F(SharedLibrary, ReachesLibpng)
{
	for (const char* name : {"png_create_read_struct", "png_create_write_struct", "png_read_image", "png_destroy_read_struct"})
		EXPECT_NE(Find<void()>(name), nullptr) << name;

	auto* version = Find<unsigned()>("png_access_version_number");
	ASSERT_NE(version, nullptr);
	EXPECT_GE(version(), 10600U);
}

} // namespace
