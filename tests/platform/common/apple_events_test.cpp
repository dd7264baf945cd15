// Lists, coercions and events sent to the own process.
#include "platform/apple_events.h"

#include <gtest/gtest.h>

#include <cstring>

#include "platform/file_manager.h"
#include "platform/processes.h"
#include "tests/support/temporary_folder.h"

namespace {

std::string TextAt(const AEDescList &list, std::int32_t index) {
  char text[4] = {};
  const OSErr error =
      AEGetNthPtr(list, index, typeText, nullptr, nullptr, text, sizeof text, nullptr);
  return error == noErr ? text : "error " + std::to_string(error);
}

/// What the handler of the tests was given.
AEDescList received;

OSErr ReceiveOpenDocuments(const AppleEvent &event, AppleEvent *, std::intptr_t refCon) {
  const OSErr error = AEGetParamDesc(event, keyDirectObject, typeAEList, &received);
  return error != noErr ? error : static_cast<OSErr>(refCon);
}

}  // namespace

TEST(AppleEvents, ListPlacesItemsByIndexAndRefusesOtherTypesAndSizes) {
  AEDescList list;
  ASSERT_EQ(AECreateList(nullptr, 0, false, &list), noErr);
  for (const auto &[index, text, expected] : {std::tuple{1, "a", noErr},
                                              {2, "b", noErr},
                                              {0, "12345", noErr},
                                              {2, "B", noErr},
                                              {5, "gap", paramErr},
                                              {-1, "before", paramErr}})
    EXPECT_EQ(AEPutPtr(&list, index, typeText, text, std::strlen(text)), expected) << text;
  std::int32_t count = 0;
  EXPECT_EQ(AECountItems(list, &count), noErr);
  EXPECT_EQ(count, 3);
  for (const auto &[index, text] :
       {std::pair{0, "error -1701"}, {1, "a"}, {2, "B"}, {3, "error -1700"}, {4, "error -1701"}})
    EXPECT_EQ(TextAt(list, index), text) << "5 characters do not fit, places 0 and 4 are none";
  FSRef ref;
  EXPECT_EQ(AEGetNthPtr(list, 1, typeFSRef, nullptr, nullptr, &ref, sizeof ref, nullptr),
            errAECoercionFail);
  EXPECT_EQ(AECountItems(AEDesc{}, &count), errAECoercionFail) << "what is no list has no items";
}

TEST(AppleEvents, AliasLeadsToTheItemItWasMadeOfWhileItIsThere) {
  const CTemporaryFolder folder;
  folder.WriteFile("a.txt", "a");
  AEDescList list;
  ASSERT_EQ(AECreateList(nullptr, 0, false, &list), noErr);
  FSRef file;
  FSSpec spec;
  AliasHandle alias;
  ASSERT_EQ(FSPathMakeRef(folder.PathOf("a.txt").c_str(), &file, nullptr), noErr);
  ASSERT_EQ(FSGetCatalogInfo(file, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr), noErr);
  ASSERT_EQ(NewAlias(nullptr, spec, &alias), noErr);
  ASSERT_EQ(AEPutPtr(&list, 0, typeAlias, alias->data(), alias->size()), noErr);
  ASSERT_EQ(AEPutPtr(&list, 0, typeAlias, "no alias", 8), noErr);
  FSRef ref;
  const auto get = [&](std::int32_t index) {
    return AEGetNthPtr(list, index, typeFSRef, nullptr, nullptr, &ref, sizeof ref, nullptr);
  };
  ASSERT_EQ(get(1), noErr);
  EXPECT_EQ(FSCompareFSRefs(ref, file), noErr);
  EXPECT_EQ(get(2), errAECoercionFail);
  folder.Remove("a.txt");
  EXPECT_EQ(get(1), errAECoercionFail);
}

TEST(AppleEvents, ReachTheHandlerInstalledLastOfTheOwnProcessOnly) {
  AEAddressDesc target;
  AppleEvent event;
  for (const std::uint32_t number : {7U, static_cast<std::uint32_t>(kCurrentProcess)}) {
    const ProcessSerialNumber process{0, number};
    ASSERT_EQ(AECreateDesc(typeProcessSerialNumber, &process, sizeof process, &target), noErr);
    EXPECT_EQ(AECreateAppleEvent(kCoreEventClass, kAEOpenDocuments, target, -1, 0, &event),
              number == kCurrentProcess ? noErr : paramErr);
  }
  const auto send = [&event] {
    return AESend(event, nullptr, kAENoReply, kAENormalPriority, kAEDefaultTimeout);
  };
  EXPECT_EQ(send(), errAEEventNotHandled);
  for (const OSErr answer : {ioErr, dskFulErr}) {
    ASSERT_EQ(AEInstallEventHandler(kCoreEventClass, kAEOpenDocuments, ReceiveOpenDocuments, answer,
                                    false),
              noErr);
  }
  EXPECT_EQ(send(), errAEDescNotFound) << "no direct object";
  AEDesc single;
  ASSERT_EQ(AECreateDesc(typeText, "x", 1, &single), noErr);
  ASSERT_EQ(AEPutParamDesc(&event, keyDirectObject, single), noErr);
  EXPECT_EQ(send(), dskFulErr) << "what the handler installed last answers";
  EXPECT_EQ(TextAt(received, 1), "x") << "one item is a list of one";
}
