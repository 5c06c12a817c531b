// The type library, read back out of the built file.

#include "windows/host.h"

#include <gtest/gtest.h>

namespace kx3::test {
namespace {

using com::ComPtr;
using com::receive;

struct Row {
    const wchar_t *name;
    INVOKEKIND kind;
    MEMBERID identifier;
    VARTYPE argument; ///< VT_EMPTY when the member takes none
    bool byReference;
};

/// The interface as hosts have compiled it in. Nothing in here ever changes.
constexpr Row interfaceRows[] = {
    {L"buflg", INVOKE_PROPERTYGET, 0x40030000, VT_I4, true},
    {L"buflg", INVOKE_PROPERTYPUT, 0x40030000, VT_I4, false},
    {L"exitpower", INVOKE_PROPERTYGET, 0x40030001, VT_BOOL, true},
    {L"exitpower", INVOKE_PROPERTYPUT, 0x40030001, VT_BOOL, false},
    {L"runMpu6Prg", INVOKE_FUNC, 0x60030000, VT_BOOL, true},
    {L"mpu6warn", INVOKE_FUNC, 0x60030001, VT_UI1, true},
    {L"editfigmpu6", INVOKE_FUNC, 0x60030002, VT_EMPTY, false},
    {L"bufcommpu6", INVOKE_FUNC, 0x60030004, VT_I2, true},
    {L"freesharebuffermpu6", INVOKE_FUNC, 0x60030006, VT_EMPTY, false},
    {L"sinitmpu6", INVOKE_FUNC, 0x60030007, VT_EMPTY, false},
};

struct Attributes {
    explicit Attributes(ITypeInfo &info) : info_(info) { info.GetTypeAttr(&data); }
    ~Attributes() { info_.ReleaseTypeAttr(data); }
    Attributes(const Attributes &) = delete;
    Attributes &operator=(const Attributes &) = delete;
    TYPEATTR *data = nullptr;

  private:
    ITypeInfo &info_;
};

class TypeLibrary : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(::LoadTypeLibEx(L"kx3mpu6.dll", REGKIND_NONE, receive(library)), S_OK); }
    ComPtr<ITypeInfo> typeOf(const GUID &identifier) {
        ComPtr<ITypeInfo> info;
        library->GetTypeInfoOfGuid(identifier, receive(info));
        return info;
    }

    ComThread com;
    LoadedPlugin plugin;
    ComPtr<ITypeLib> library;
};

TEST_F(TypeLibrary, InterfaceIsTheTableInVtableOrder) {
    const ComPtr<ITypeInfo> dispatch = typeOf(__uuidof(::_clsMPU));
    ASSERT_TRUE(dispatch);
    const Attributes dispatchAttributes(*dispatch);
    constexpr WORD flags = TYPEFLAG_FHIDDEN | TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE;
    EXPECT_EQ(dispatchAttributes.data->wTypeFlags & flags, flags);

    // A dual interface shows its vtable side under the reference -1.
    HREFTYPE reference = 0;
    ASSERT_EQ(dispatch->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference), S_OK);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(dispatch->GetRefTypeInfo(reference, receive(info)), S_OK);
    const Attributes attributes(*info);
    EXPECT_NE(attributes.data->wTypeFlags & TYPEFLAG_FOLEAUTOMATION, 0);
    ASSERT_EQ(attributes.data->cFuncs, std::size(interfaceRows));
    constexpr short dispatchEntries = 7;
    for (UINT i = 0; i < std::size(interfaceRows); ++i) {
        SCOPED_TRACE(i);
        const Row &row = interfaceRows[i];
        FUNCDESC *function = nullptr;
        ASSERT_EQ(info->GetFuncDesc(i, &function), S_OK);
        com::Bstr name;
        info->GetDocumentation(function->memid, receive(name), nullptr, nullptr, nullptr);
        EXPECT_STREQ(name.get(), row.name);
        EXPECT_EQ(function->invkind, row.kind);
        EXPECT_EQ(function->memid, row.identifier);
        EXPECT_EQ(function->oVft, (dispatchEntries + static_cast<short>(i)) * 4);
        EXPECT_EQ(function->callconv, CC_STDCALL);
        EXPECT_EQ(function->elemdescFunc.tdesc.vt, VT_HRESULT);
        ASSERT_EQ(function->cParams, row.argument == VT_EMPTY ? 0 : 1);
        if (row.argument != VT_EMPTY) {
            const ELEMDESC &argument = function->lprgelemdescParam[0];
            EXPECT_EQ(argument.tdesc.vt == VT_PTR, row.byReference);
            EXPECT_EQ(row.byReference ? argument.tdesc.lptdesc->vt : argument.tdesc.vt, row.argument);
            const int direction = argument.paramdesc.wParamFlags & (PARAMFLAG_FIN | PARAMFLAG_FOUT);
            EXPECT_EQ(direction, row.kind == INVOKE_PROPERTYGET   ? PARAMFLAG_FOUT
                                 : row.kind == INVOKE_PROPERTYPUT ? PARAMFLAG_FIN
                                                                  : PARAMFLAG_FIN | PARAMFLAG_FOUT);
        }
        info->ReleaseFuncDesc(function);
    }
}

TEST_F(TypeLibrary, ClassIsFlaggedAsHostsExpect) {
    const ComPtr<ITypeInfo> info = typeOf(__uuidof(::clsMPU));
    ASSERT_TRUE(info);
    const Attributes attributes(*info);
    EXPECT_EQ(attributes.data->typekind, TKIND_COCLASS);
    EXPECT_EQ(attributes.data->wTypeFlags, TYPEFLAG_FAPPOBJECT | TYPEFLAG_FCANCREATE | TYPEFLAG_FPREDECLID);
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> implemented;
    ASSERT_EQ(info->GetRefTypeOfImplType(0, &reference), S_OK);
    ASSERT_EQ(info->GetRefTypeInfo(reference, receive(implemented)), S_OK);
    EXPECT_EQ(Attributes(*implemented).data->guid, __uuidof(::_clsMPU));
    INT flags = 0;
    EXPECT_EQ(info->GetImplTypeFlags(0, &flags), S_OK);
    EXPECT_EQ(flags, IMPLTYPEFLAG_FDEFAULT);
}

TEST_F(TypeLibrary, ObjectHandsOutItsInterfacesType) {
    const auto mpu = plugin.create();
    UINT count = 0;
    EXPECT_EQ(mpu->GetTypeInfoCount(&count), S_OK);
    EXPECT_EQ(count, 1U);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(mpu->GetTypeInfo(0, LOCALE_USER_DEFAULT, receive(info)), S_OK);
    EXPECT_EQ(Attributes(*info).data->guid, __uuidof(::_clsMPU));
    EXPECT_EQ(mpu->GetTypeInfo(1, LOCALE_USER_DEFAULT, receive(info)), DISP_E_BADINDEX);
}

} // namespace
} // namespace kx3::test
