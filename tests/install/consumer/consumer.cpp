// The smallest program that uses the library: are its headers and the library that it runs with of one version?
#include <torvi/version.h>

#include <iostream>
#include <string_view>

int main()
{
	std::cout << "torvi " << torvi::GetLibraryVersion() << "\n";
	return std::string_view(torvi::GetLibraryVersion()) == torvi::VERSION_TEXT ? 0 : 1;
}
