// The built library as a host that links against its interface sees it.

#include "blocks/block_table.h"
#include "windows/suite_host.h"

namespace kx3::test {
namespace {

using com::ComPtr;
using com::receive;

constexpr HRESULT overflowStatus = static_cast<HRESULT>(0x800A0006);
constexpr HRESULT subscriptStatus = static_cast<HRESULT>(0x800A0009);

class Plugin : public ::testing::Test {
  protected:
    ComThread com;
    LoadedPlugin plugin;
    ComPtr<::_clsMPU> mpu = plugin.create();
    SHORT instance = 21;
};

TEST_F(Plugin, WorksOnTheHostsBlocksAndMakesTheOthers) {
    SuiteHost host(instance, 1000);
    host.at<Byte>("prgmode") = 12;
    host.at<Long>("tlength") = 16;
    EXPECT_FALSE(blockExists("tamselalgobuf21")) << "creation attaches nothing";

    ASSERT_EQ(mpu->bufcommpu6(&instance), S_OK);
    EXPECT_EQ(instance, 21);
    LONG buflg = 0;
    EXPECT_EQ(mpu->get_buflg(&buflg), S_OK);
    EXPECT_EQ(buflg, 1000);
    for (const BlockRow &row : blockTable)
        EXPECT_TRUE(blockExists(blockName(row, 21).c_str())) << row.root;
    EXPECT_TRUE(blockExists("tamselibuffer66"));

    const std::vector<Byte> before(host.buffer(), host.buffer() + 64);
    EXPECT_EQ(mpu->sinitmpu6(), S_OK);
    EXPECT_FALSE(std::equal(before.begin(), before.end(), host.buffer())) << "mode 12 has defaults";
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
    EXPECT_FALSE(blockExists("tamselibuffer66"));
    EXPECT_TRUE(blockExists("tamselalgobuf21")) << "released by the object's end";
}

TEST_F(Plugin, FailuresCarryStatusAndText) {
    VARIANT_BOOL usbenable = VARIANT_TRUE;
    EXPECT_EQ(mpu->runMpu6Prg(&usbenable), subscriptStatus);
    EXPECT_EQ(takeErrorText(), L"Subscript out of range");
    EXPECT_EQ(usbenable, VARIANT_TRUE);
    EXPECT_EQ(mpu->editfigmpu6(), subscriptStatus);

    const HostBlock length("tamselbuflength21", 40);
    length.at<Long>(0) = 0x7FFFFFFF - 2199;
    EXPECT_EQ(mpu->put_buflg(5), S_OK);
    EXPECT_EQ(mpu->bufcommpu6(&instance), overflowStatus);
    EXPECT_EQ(takeErrorText(), L"Overflow");
    LONG buflg = 0;
    EXPECT_EQ(mpu->get_buflg(&buflg), S_OK);
    EXPECT_EQ(buflg, 5);
    EXPECT_FALSE(blockExists("tamselibuffer"));
}

TEST_F(Plugin, BlockThatCannotBeHadIsShownAndTheOthersAreAttached) {
    const platform::UniqueHandle inTheWay(::CreateEventA(nullptr, TRUE, FALSE, "tamselprgmode21"));
    const BoxPresser presser;
    EXPECT_EQ(mpu->bufcommpu6(&instance), S_OK);
    EXPECT_EQ(presser.texts(), std::vector<std::wstring>{L"Unable to create memory mapped file"});
    EXPECT_TRUE(blockExists("tamselwordmode21"));
    EXPECT_EQ(mpu->sinitmpu6(), S_OK) << "element 0 of its array reads zero, a mode without defaults";
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
}

TEST_F(Plugin, NullPointersAreRefusedByName) {
    const std::pair<const wchar_t *, std::function<HRESULT()>> cases[] = {
        {L"buflg", [&] { return mpu->get_buflg(nullptr); }},
        {L"exitpower", [&] { return mpu->get_exitpower(nullptr); }},
        {L"usbenable", [&] { return mpu->runMpu6Prg(nullptr); }},
        {L"no", [&] { return mpu->mpu6warn(nullptr); }},
        {L"num", [&] { return mpu->bufcommpu6(nullptr); }},
    };
    for (const auto &[name, call] : cases) {
        EXPECT_EQ(call(), E_POINTER) << name;
        EXPECT_EQ(takeErrorText(),
                  std::wstring(L"Invalid procedure call or argument: ") + name + L" is a null pointer");
    }
    EXPECT_EQ(mpu->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(mpu->GetTypeInfoCount(nullptr), E_POINTER);
    EXPECT_EQ(mpu->GetTypeInfo(0, 0, nullptr), E_POINTER);
    EXPECT_EQ(mpu->GetIDsOfNames(IID_NULL, nullptr, 1, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(mpu->Invoke(0x60030007, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(plugin.getClassObject(__uuidof(::clsMPU), IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(plugin.factory()->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(Plugin, OnlyItsOwnInterfacesAndClassAreFound) {
    ComPtr<IUnknown> found;
    for (const IID &id : {IID_IUnknown, IID_IDispatch, __uuidof(::_clsMPU), IID_ISupportErrorInfo})
        EXPECT_EQ(mpu->QueryInterface(id, receive(found)), S_OK);
    EXPECT_EQ(mpu->QueryInterface(IID_IClassFactory, receive(found)), E_NOINTERFACE);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(plugin.getClassObject(__uuidof(::_clsMPU), IID_IClassFactory, receive(found)), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(plugin.getClassObject(__uuidof(::clsMPU), IID_IDispatch, receive(found)), E_NOINTERFACE);
    EXPECT_EQ(plugin.factory()->CreateInstance(nullptr, IID_IClassFactory, receive(found)), E_NOINTERFACE);
    EXPECT_EQ(plugin.factory()->CreateInstance(mpu.get(), IID_IUnknown, receive(found)), CLASS_E_NOAGGREGATION);

    ComPtr<ISupportErrorInfo> errors;
    ASSERT_EQ(mpu->QueryInterface(IID_ISupportErrorInfo, receive(errors)), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(__uuidof(::_clsMPU)), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_IClassFactory), S_FALSE);
}

TEST_F(Plugin, ExitpowerIsTheHostsOwn) {
    VARIANT_BOOL value = VARIANT_TRUE;
    EXPECT_EQ(mpu->get_exitpower(&value), S_OK);
    EXPECT_EQ(value, VARIANT_FALSE);
    EXPECT_EQ(mpu->put_exitpower(123), S_OK);
    EXPECT_EQ(mpu->get_exitpower(&value), S_OK);
    EXPECT_EQ(value, 123);
}

} // namespace
} // namespace kx3::test
