// The built library as a host that links against its interface sees it.

#include "blocks/block_table.h"
#include "windows/message_loop_watch.h"
#include "windows/plugin.h"

namespace kx3::test {
namespace {

using com::ComPtr;
using com::receive;

TEST_F(Plugin, WorksOnTheHostsBlocksAndMakesTheOthers) {
    const HostBlock mode("tamselprgmode21", 40), length("tamselbuflength21", 40), addresses("tamseltlength21", 40);
    const HostBlock buffer("tamselibuffer", 1000 + 2200);
    mode.at<Byte>(0) = 12;
    length.at<Long>(0) = 1000;
    addresses.at<Long>(0) = 16;
    EXPECT_FALSE(blockExists("tamselalgobuf21")) << "creation attaches nothing";
    ASSERT_EQ(attach(*mpu, 21), S_OK);
    for (const BlockRow &row : blockTable)
        EXPECT_TRUE(blockExists(blockName(row, 21).c_str())) << row.root;
    EXPECT_TRUE(blockExists("tamselibuffer66"));
    EXPECT_EQ(mpu->sinitmpu6(), S_OK);
    EXPECT_NE(buffer.at<Byte>(32), 0) << "mode 12 has defaults";
    EXPECT_EQ(mpu->freesharebuffermpu6(), S_OK);
    EXPECT_TRUE(blockExists("tamselalgobuf21"));
    mpu = plugIn.create();
    EXPECT_FALSE(blockExists("tamselalgobuf21")) << "released by the object's end";
}

TEST_F(Plugin, FailuresCarryStatusAndText) {
    const HostBlock length("tamselbuflength21", 40);
    length.at<Long>(0) = 0x7FFFFFFF - 2199;
    EXPECT_EQ(mpu->put_buflg(5), S_OK);
    EXPECT_EQ(attach(*mpu, 21), overflowStatus);
    EXPECT_EQ(takeErrorText(), L"Overflow");
    LONG buflg = 0;
    EXPECT_EQ(mpu->get_buflg(&buflg), S_OK);
    EXPECT_EQ(buflg, 5);
    const std::pair<const wchar_t *, HRESULT> cases[] = {
        {L"buflg", mpu->get_buflg(nullptr)},      {L"exitpower", mpu->get_exitpower(nullptr)},
        {L"usbenable", mpu->runMpu6Prg(nullptr)}, {L"no", mpu->mpu6warn(nullptr)},
        {L"num", mpu->bufcommpu6(nullptr)},
    };
    for (const auto &[name, status] : cases)
        EXPECT_EQ(status, E_POINTER) << name;
    EXPECT_EQ(takeErrorText(), L"Invalid procedure call or argument: num is a null pointer");
}

TEST_F(Plugin, BlockThatCannotBeMadeIsShownAndTheOthersAreAttached) {
    const platform::UniqueHandle inTheWay(::CreateEventA(nullptr, TRUE, FALSE, "tamselprgmode21"));
    std::wstring shown;
    const MessageLoopWatch person([&shown] {
        constexpr int textControl = 0xFFFF;
        wchar_t text[512] = {};
        HWND box = ::FindWindowW(L"#32770", nullptr);
        if (box == nullptr || ::GetDlgItemTextW(box, textControl, text, std::size(text)) == 0) return;
        shown += text;
        ::SendMessageW(box, WM_COMMAND, IDOK, 0);
    });
    EXPECT_EQ(attach(*mpu, 21), S_OK);
    EXPECT_EQ(shown, L"Unable to create memory mapped file");
    EXPECT_TRUE(blockExists("tamselwordmode21"));
    EXPECT_EQ(mpu->sinitmpu6(), S_OK) << "element 0 of its array reads zero, a mode without defaults";
}

TEST_F(Plugin, NullPointersOfTheSystemsInterfacesAreRefused) {
    EXPECT_EQ(mpu->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(mpu->GetTypeInfoCount(nullptr), E_POINTER);
    EXPECT_EQ(mpu->GetTypeInfo(0, 0, nullptr), E_POINTER);
    EXPECT_EQ(mpu->GetIDsOfNames(IID_NULL, nullptr, 1, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(mpu->Invoke(0x60030007, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(plugIn.getClassObject(__uuidof(::clsMPU), IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(plugIn.factory()->CreateInstance(nullptr, IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(Plugin, OnlyItsOwnInterfacesAndClassAreFound) {
    ComPtr<IUnknown> found;
    for (const IID &id : {IID_IUnknown, IID_IDispatch, __uuidof(::_clsMPU)})
        EXPECT_EQ(mpu->QueryInterface(id, receive(found)), S_OK);
    ComPtr<ISupportErrorInfo> errors;
    ASSERT_EQ(mpu->QueryInterface(IID_ISupportErrorInfo, receive(errors)), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(__uuidof(::_clsMPU)), S_OK);
    EXPECT_EQ(mpu->QueryInterface(IID_IClassFactory, receive(found)), E_NOINTERFACE);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(plugIn.getClassObject(__uuidof(::_clsMPU), IID_IClassFactory, receive(found)), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(plugIn.getClassObject(__uuidof(::clsMPU), IID_IDispatch, receive(found)), E_NOINTERFACE);
    EXPECT_EQ(plugIn.factory()->CreateInstance(nullptr, IID_IClassFactory, receive(found)), E_NOINTERFACE);
    EXPECT_EQ(plugIn.factory()->CreateInstance(mpu.get(), IID_IUnknown, receive(found)), CLASS_E_NOAGGREGATION);
}

} // namespace
} // namespace kx3::test
