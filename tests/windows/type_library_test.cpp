// The type library, read back out of the built file.

#include "windows/plugin.h"

#include <sstream>

namespace kx3::test {
namespace {

using com::ComPtr;
using com::receive;

TYPEATTR attributesOf(ITypeInfo &info) {
    TYPEATTR *given = nullptr;
    EXPECT_EQ(info.GetTypeAttr(&given), S_OK);
    const TYPEATTR attributes = *given;
    info.ReleaseTypeAttr(given);
    return attributes;
}
ComPtr<ITypeInfo> referredBy(ITypeInfo &info, UINT index) {
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> found;
    EXPECT_EQ(info.GetRefTypeOfImplType(index, &reference), S_OK);
    EXPECT_EQ(info.GetRefTypeInfo(reference, receive(found)), S_OK);
    return found;
}

/// "kind name identifier place in the table: type direction" of every member.
std::string membersOf(ITypeInfo &info) {
    std::ostringstream text;
    FUNCDESC *function = nullptr;
    for (UINT i = 0; SUCCEEDED(info.GetFuncDesc(i, &function)); ++i) {
        com::Bstr name;
        info.GetDocumentation(function->memid, receive(name), nullptr, nullptr, nullptr);
        text << function->invkind << ' ' << std::string(name.get(), name.get() + ::SysStringLen(name.get())) << ' '
             << std::hex << function->memid << std::dec << ' ' << function->oVft / 4 << ':';
        for (SHORT j = 0; j < function->cParams; ++j) {
            const ELEMDESC &parameter = function->lprgelemdescParam[j];
            const bool isPointer = parameter.tdesc.vt == VT_PTR;
            text << ' ' << (isPointer ? parameter.tdesc.lptdesc->vt : parameter.tdesc.vt) << (isPointer ? "*" : "")
                 << ' ' << parameter.paramdesc.wParamFlags;
        }
        EXPECT_TRUE(function->callconv == CC_STDCALL && function->elemdescFunc.tdesc.vt == VT_HRESULT);
        info.ReleaseFuncDesc(function);
        text << '\n';
    }
    return text.str();
}

TEST_F(Plugin, TypeLibraryIsWhatHostsHaveCompiledIn) {
    ComPtr<ITypeInfo> dispatch;
    EXPECT_EQ(mpu->GetTypeInfo(1, LOCALE_USER_DEFAULT, receive(dispatch)), DISP_E_BADINDEX);
    ASSERT_EQ(mpu->GetTypeInfo(0, LOCALE_USER_DEFAULT, receive(dispatch)), S_OK);
    EXPECT_EQ(attributesOf(*dispatch).guid, __uuidof(::_clsMPU));
    constexpr WORD flags = TYPEFLAG_FHIDDEN | TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE;
    EXPECT_EQ(attributesOf(*dispatch).wTypeFlags & flags, flags);
    // A dual interface shows the side that is called through its table under the reference -1.
    const auto table = referredBy(*dispatch, static_cast<UINT>(-1));
    EXPECT_NE(attributesOf(*table).wTypeFlags & TYPEFLAG_FOLEAUTOMATION, 0);
    // Nothing in here ever changes: kinds 1 method, 2 get, 4 put; types 2 Integer, 3 Long, 11 Boolean, 17 Byte;
    // directions 1 in, 2 out, 10 result.
    EXPECT_EQ(membersOf(*table), "2 buflg 40030000 7: 3* 10\n"
                                 "4 buflg 40030000 8: 3 1\n"
                                 "2 exitpower 40030001 9: 11* 10\n"
                                 "4 exitpower 40030001 10: 11 1\n"
                                 "1 runMpu6Prg 60030000 11: 11* 3\n"
                                 "1 mpu6warn 60030001 12: 17* 3\n"
                                 "1 editfigmpu6 60030002 13:\n"
                                 "1 bufcommpu6 60030004 14: 2* 3\n"
                                 "1 freesharebuffermpu6 60030006 15:\n"
                                 "1 sinitmpu6 60030007 16:\n");

    ComPtr<ITypeLib> library;
    ComPtr<ITypeInfo> entry;
    UINT index = 0;
    ASSERT_EQ(dispatch->GetContainingTypeLib(receive(library), &index), S_OK);
    ASSERT_EQ(library->GetTypeInfoOfGuid(__uuidof(::clsMPU), receive(entry)), S_OK);
    EXPECT_EQ(attributesOf(*entry).wTypeFlags, TYPEFLAG_FAPPOBJECT | TYPEFLAG_FCANCREATE | TYPEFLAG_FPREDECLID);
    EXPECT_EQ(attributesOf(*referredBy(*entry, 0)).guid, __uuidof(::_clsMPU));
    INT implemented = 0;
    EXPECT_EQ(entry->GetImplTypeFlags(0, &implemented), S_OK);
    EXPECT_EQ(implemented, IMPLTYPEFLAG_FDEFAULT);
}

} // namespace
} // namespace kx3::test
