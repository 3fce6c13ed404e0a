#pragma once

namespace zor::test {

/** A version file as the target has it. */
constexpr char kVersionList[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                "<!DOCTYPE plist PUBLIC \"-//Apple Computer//DTD PLIST 1.0//EN\" "
                                "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                "<plist version=\"1.0\">\n"
                                "<dict>\n"
                                "\t<key>ProductBuildVersion</key>\n"
                                "\t<string>8S165</string>\n"
                                "\t<key>ProductCopyright</key>\n"
                                "\t<string>1983-2007 &amp; later</string>\n"
                                "\t<key>ProductName</key>\n"
                                "\t<string>Mac OS X</string>\n"
                                "\t<key>ProductUserVisibleVersion</key>\n"
                                "\t<string>10.4.11</string>\n"
                                "\t<key>ProductVersion</key>\n"
                                "\t<string>10.4.11</string>\n"
                                "</dict>\n"
                                "</plist>\n";

} // namespace zor::test
