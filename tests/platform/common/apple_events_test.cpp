// Lists, coercions and events sent to the own process.
#include "platform/apple_events.h"

#include <gtest/gtest.h>

#include <cstring>

#include "platform/common/event_dispatch.h"
#include "platform/processes.h"
#include "tests/support/temporary_folder.h"

namespace {

constexpr DescType kNumber = FourChars("long");

std::string TextAt(const AEDescList &list, std::int32_t index) {
  char text[16] = {};
  const OSErr error =
      AEGetNthPtr(list, index, typeText, nullptr, nullptr, text, sizeof text, nullptr);
  return error == noErr ? text : "error " + std::to_string(error);
}

FSRef RefOf(const std::string &path) {
  FSRef ref{};
  EXPECT_EQ(FSPathMakeRef(path.c_str(), &ref, nullptr), noErr);
  return ref;
}

FSSpec SpecOf(const FSRef &ref) {
  FSSpec spec{};
  EXPECT_EQ(FSGetCatalogInfo(ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr), noErr);
  return spec;
}

/// What the handler of the tests was given and what it answers.
struct Received {
  int events = 0;
  std::intptr_t refCon = 0;
  AEDescList items;
  OSErr listError = noErr;
  OSErr answer = noErr;
};
Received received;

OSErr ReceiveOpenDocuments(const AppleEvent &event, AppleEvent *, std::intptr_t refCon) {
  ++received.events;
  received.refCon = refCon;
  received.listError = AEGetParamDesc(event, keyDirectObject, typeAEList, &received.items);
  return received.answer;
}

}  // namespace

TEST(AppleEvents, ListPlacesItemsByIndex) {
  AEDescList list;
  ASSERT_EQ(AECreateList(nullptr, 0, false, &list), noErr);
  for (const auto &[index, text, expected] : {std::tuple{1, "a", noErr},
                                              {2, "b", noErr},
                                              {0, "c", noErr},
                                              {2, "B", noErr},
                                              {5, "gap", paramErr},
                                              {-1, "before", paramErr}})
    EXPECT_EQ(AEPutPtr(&list, index, typeText, text, std::strlen(text)), expected) << text;

  std::int32_t count = 0;
  EXPECT_EQ(AECountItems(list, &count), noErr);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(TextAt(list, 1) + TextAt(list, 2) + TextAt(list, 3), "aBc");
  EXPECT_EQ(TextAt(list, 0), "error -1701");
  EXPECT_EQ(TextAt(list, 4), "error -1701");
}

TEST(AppleEvents, ItemsOfAnotherTypeOrSizeAreRefused) {
  AEDescList list;
  ASSERT_EQ(AECreateList(nullptr, 0, false, &list), noErr);
  ASSERT_EQ(AEPutPtr(&list, 1, typeText, "12345", 5), noErr);
  char small[4] = "old";
  FSRef ref;
  EXPECT_EQ(AEGetNthPtr(list, 1, typeText, nullptr, nullptr, small, sizeof small, nullptr),
            errAECoercionFail);
  EXPECT_STREQ(small, "old");
  EXPECT_EQ(AEGetNthPtr(list, 1, typeFSRef, nullptr, nullptr, &ref, sizeof ref, nullptr),
            errAECoercionFail);

  // What is not a list has no items, and null stands for nothing at all.
  std::int32_t count = 0;
  AEDesc number;
  ASSERT_EQ(AECreateDesc(kNumber, &count, sizeof count, &number), noErr);
  EXPECT_EQ(AECountItems(number, &count), errAECoercionFail);
  EXPECT_EQ(AECountItems(AEDesc{}, &count), errAECoercionFail);
}

TEST(AppleEvents, AliasLeadsToTheItemItWasMadeOf) {
  const CTemporaryFolder folder;
  folder.WriteFile("there/a.txt", "a");
  folder.WriteFile("gone.txt");
  AEDescList list;
  ASSERT_EQ(AECreateList(nullptr, 0, false, &list), noErr);
  AliasHandle alias;
  for (const char *name : {"there/a.txt", "gone.txt"}) {
    const FSSpec spec = SpecOf(RefOf(folder.PathOf(name)));
    ASSERT_EQ(alias ? UpdateAlias(nullptr, spec, alias, nullptr) : NewAlias(nullptr, spec, &alias),
              noErr);
    ASSERT_EQ(AEPutPtr(&list, 0, typeAlias, alias->data(), alias->size()), noErr);
  }
  ASSERT_EQ(AEPutPtr(&list, 0, typeAlias, "no alias", 8), noErr);
  folder.Remove("gone.txt");

  FSRef ref;
  DescType type = typeNull;
  std::size_t size = 0;
  ASSERT_EQ(AEGetNthPtr(list, 1, typeFSRef, nullptr, &type, &ref, sizeof ref, &size), noErr);
  EXPECT_EQ(type, typeFSRef);
  EXPECT_EQ(size, sizeof ref);
  EXPECT_EQ(FSCompareFSRefs(ref, RefOf(folder.PathOf("there/a.txt"))), noErr);
  for (const std::int32_t index : {2, 3}) {
    EXPECT_EQ(AEGetNthPtr(list, index, typeFSRef, nullptr, nullptr, &ref, sizeof ref, nullptr),
              errAECoercionFail)
        << index;
  }
}

TEST(AppleEvents, OpenDocumentsReachTheHandlerInstalledLast) {
  const CTemporaryFolder folder;
  folder.MakeFolder("one");
  folder.MakeFolder("two");
  const std::vector<FSRef> items{RefOf(folder.PathOf("one")), RefOf(folder.PathOf("two"))};
  EXPECT_EQ(SendOpenDocuments(items), errAEEventNotHandled);

  const auto unused = [](const AppleEvent &, AppleEvent *, std::intptr_t) -> OSErr {
    return ioErr;
  };
  ASSERT_EQ(AEInstallEventHandler(kCoreEventClass, kAEOpenDocuments, unused, 1, false), noErr);
  ASSERT_EQ(
      AEInstallEventHandler(kCoreEventClass, kAEOpenDocuments, ReceiveOpenDocuments, 2, false),
      noErr);
  received = {};
  received.answer = dskFulErr;
  EXPECT_EQ(SendOpenDocuments(items), dskFulErr);
  EXPECT_EQ(received.events, 1);
  EXPECT_EQ(received.refCon, 2);
  ASSERT_EQ(received.items.items.size(), 2U);
  FSRef second;
  ASSERT_EQ(
      AEGetNthPtr(received.items, 2, typeFSRef, nullptr, nullptr, &second, sizeof second, nullptr),
      noErr);
  EXPECT_EQ(FSCompareFSRefs(second, items[1]), noErr);
}

TEST(AppleEvents, DirectObjectMayBeOneItemAndMayBeMissing) {
  ASSERT_EQ(
      AEInstallEventHandler(kCoreEventClass, kAEOpenDocuments, ReceiveOpenDocuments, 0, false),
      noErr);
  const ProcessSerialNumber self{0, kCurrentProcess};
  const ProcessSerialNumber other{0, 7};
  AEAddressDesc target;
  AEAddressDesc stranger;
  AppleEvent event;
  ASSERT_EQ(AECreateDesc(typeProcessSerialNumber, &self, sizeof self, &target), noErr);
  ASSERT_EQ(AECreateDesc(typeProcessSerialNumber, &other, sizeof other, &stranger), noErr);
  EXPECT_EQ(AECreateAppleEvent(kCoreEventClass, kAEOpenDocuments, stranger, -1, 0, &event),
            paramErr);
  ASSERT_EQ(AECreateAppleEvent(kCoreEventClass, kAEOpenDocuments, target, -1, 0, &event), noErr);

  received = {};
  EXPECT_EQ(AESend(event, nullptr, kAENoReply, kAENormalPriority, kAEDefaultTimeout), noErr);
  EXPECT_EQ(received.listError, errAEDescNotFound);

  AEDesc single;
  ASSERT_EQ(AECreateDesc(typeText, "x", 1, &single), noErr);
  ASSERT_EQ(AEPutParamDesc(&event, keyDirectObject, single), noErr);
  EXPECT_EQ(AESend(event, nullptr, kAENoReply, kAENormalPriority, kAEDefaultTimeout), noErr);
  EXPECT_EQ(received.listError, noErr);
  EXPECT_EQ(TextAt(received.items, 1), "x");
}
