#include "platform/certificate_backend/locked_directory.h"
#include "platform/certificate_backend/sha256.h"

#include <gtest/gtest.h>

TEST(FileNames, AreReadable) {
    EXPECT_EQ(fileNameOf("/redfish/v1/Managers/1/HTTPS/Certificates/1a2b3c4d"),
              "+redfish+v1+Managers+1+HTTPS+Certificates+1a2b3c4d");
    EXPECT_EQ(fileNameOf("A-z_09"), "A-z_09");
    EXPECT_EQ(fileNameOf(""), "");
}

TEST(FileNames, NeverLeaveTheDirectory) {
    EXPECT_EQ(fileNameOf("../../etc/shadow"), "=2e=2e+=2e=2e+etc+shadow");
    EXPECT_EQ(fileNameOf(".."), "=2e=2e");
    EXPECT_EQ(fileNameOf("/.new"), "+=2enew");
    EXPECT_EQ(fileNameOf(std::string("a\0b", 3)), "a=00b");
    EXPECT_EQ(fileNameOf("%2e%2f \n\xff"), "=252e=252f=20=0a=ff");
}

TEST(FileNames, AreDifferentForDifferentUris) {
    EXPECT_NE(fileNameOf("/a/b"), fileNameOf("/a+b"));
    EXPECT_NE(fileNameOf("/a=2eb"), fileNameOf("/a.b"));
    EXPECT_NE(fileNameOf("/a~b"), fileNameOf("/a=7eb=20"));
}

TEST(FileNames, AreBounded) {
    const std::string twoHundred = "/" + std::string(199, 'x');
    EXPECT_EQ(fileNameOf(twoHundred), "+" + std::string(199, 'x'));
    const std::string cut = "+" + std::string(99, 'x') + "~";
    EXPECT_EQ(fileNameOf(twoHundred + "y"), cut + sha256Hex(twoHundred + "y"));
    EXPECT_EQ(fileNameOf("/" + std::string(1 << 20, 'x')).size(), 100U + 1U + 64U);
    EXPECT_NE(fileNameOf(twoHundred + "y"), fileNameOf(twoHundred + "z"));
}

TEST(FileNames, UseTheSha256OfTheUri) {
    EXPECT_EQ(sha256Hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}
