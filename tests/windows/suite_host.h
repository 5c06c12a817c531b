// The suite's host as far as whole operations need it: both registered classes, blocks made with the
// system's calls, strings of its own, and the work that the session window announces.
#pragma once

#include "windows/host.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <oleauto.h>
#include <utility>

namespace kx3::test {

using Image = std::vector<Byte>;

/// The data of an Intel HEX file that lie inside a device of `bytes` bytes; erased flash elsewhere.
inline Image imageOf(std::istream &file, std::size_t bytes) {
    Image image(bytes, 0xFF);
    std::size_t base = 0;
    for (std::string line; std::getline(file, line) && line[0] == ':';) {
        const auto number = [&](std::size_t digit, std::size_t count) {
            return static_cast<std::size_t>(std::stoul(line.substr(digit, count), nullptr, 16));
        };
        constexpr std::size_t data = 9;
        const std::size_t type = number(7, 2);
        if (type == 2) base = number(data, 4) << 4;
        if (type == 4) base = number(data, 4) << 16;
        if (type != 0) continue;
        for (std::size_t i = 0; i < number(1, 2); ++i)
            if (const std::size_t at = base + number(3, 4) + i; at < bytes)
                image[at] = static_cast<Byte>(number(data + 2 * i, 2));
    }
    return image;
}

/// A registered class of a library beside this program, as long as it lives.
class Registered {
  public:
    explicit Registered(const wchar_t *file) : module_(::LoadLibraryW(file)) {
        EXPECT_EQ(call("DllRegisterServer"), S_OK);
    }
    ~Registered() { EXPECT_EQ(call("DllUnregisterServer"), S_OK); }
    Registered(const Registered &) = delete;
    Registered &operator=(const Registered &) = delete;

  private:
    HRESULT call(const char *name) const {
        auto *function =
            reinterpret_cast<HRESULT WINAPI (*)()>(reinterpret_cast<void *>(::GetProcAddress(module_.get(), name)));
        return function == nullptr ? E_FAIL : function();
    }
    platform::UniqueModule module_;
};

/// What every whole run needs: both registered classes, COM, and the algorithm files of a device.
struct Suite {
    explicit Suite(const wchar_t *pluginFile = L"kx3mpu6.dll") : plugin(pluginFile) {
        for (const char *file : {"algo4/family/part.alg", "algo/family/part.bin"}) {
            std::filesystem::create_directories(std::filesystem::path(file).parent_path());
            std::ofstream(file, std::ios::binary) << "an algorithm";
        }
    }
    ~Suite() {
        std::filesystem::remove_all("algo4");
        std::filesystem::remove_all("algo");
    }
    Suite(const Suite &) = delete;
    Suite &operator=(const Suite &) = delete;

    Registered plugin;
    Registered sessionHost{L"kx3host.dll"};
    ComThread com;
};

inline constexpr wchar_t sessionHostName[] = L"kx3host.SessionHost";

inline VARIANT argument(Long value) {
    VARIANT made{};
    V_VT(&made) = VT_I4;
    V_I4(&made) = value;
    return made;
}

/// The simulated programmer's class, and what only the host itself calls of it.
class Programmer {
  public:
    Programmer() : host_(createByName<IDispatch>(sessionHostName)) { EXPECT_TRUE(host_); }

    void insert(Byte maker, Byte deviceCode) { call(L"Insert", {argument(maker), argument(deviceCode)}); }
    void open(SHORT instance, const wchar_t *faults = L"") {
        const com::Bstr faultText(::SysAllocString(faults));
        VARIANT noChipFile{};
        V_VT(&noChipFile) = VT_BSTR; // a null text is an empty one
        VARIANT planned = noChipFile;
        V_BSTR(&planned) = faultText.get();
        call(L"Open", {argument(instance), noChipFile, planned});
    }
    void carryOut(Byte operation) { call(L"CarryOut", {argument(operation)}); }
    void close() { call(L"Close", {}); }
    bool passed() {
        const VARIANT result = call(L"Passed", {});
        return V_BOOL(&result) == VARIANT_TRUE;
    }

  private:
    /// Results are scalars: nothing is owned.
    VARIANT call(const wchar_t *name, std::vector<VARIANT> arguments) {
        auto *asked = const_cast<OLECHAR *>(name);
        DISPID identifier = DISPID_UNKNOWN;
        EXPECT_EQ(host_->GetIDsOfNames(IID_NULL, &asked, 1, 0, &identifier), S_OK);
        std::reverse(arguments.begin(), arguments.end());
        DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        VARIANT result{};
        EXPECT_EQ(host_->Invoke(identifier, IID_NULL, 0, DISPATCH_METHOD, &parameters, &result, nullptr, nullptr),
                  S_OK);
        return result;
    }

    com::ComPtr<IDispatch> host_;
};

/// One host instance with a device of `dataBytes` bytes. It creates the blocks that it uses and leaves
/// the others to the plug-in.
class SuiteHost {
  public:
    SuiteHost(SHORT instance, std::size_t dataBytes)
        : instance_(instance), buffer_("tamselibuffer", static_cast<DWORD>(dataBytes + 2200)) {
        at<Long>("buflength") = static_cast<Long>(dataBytes);
        for (std::size_t i = 0; i < 13; ++i)
            setText("prgnote", i, L"note ");
        for (std::size_t i = 0; i < 20; ++i)
            setText("MainmnuPrg", i, L"operation ");
    }
    ~SuiteHost() {
        for (const char *root : {"algorithm", "prgnote", "MainmnuPrg", "MainRtstr"})
            for (std::size_t i = 0; i < 30; ++i)
                ::SysFreeString(at<BSTR>(root, i));
    }
    SuiteHost(const SuiteHost &) = delete;
    SuiteHost &operator=(const SuiteHost &) = delete;

    template <class T> T &at(const std::string &root, std::size_t index = 0) {
        auto &block = blocks_[root];
        if (!block) block = std::make_unique<HostBlock>("tamsel" + root + std::to_string(instance_), 400);
        return block->template at<T>(index);
    }
    void setText(const std::string &root, std::size_t index, const wchar_t *text) {
        ::SysFreeString(std::exchange(at<BSTR>(root, index), ::SysAllocString(text)));
    }
    Byte *buffer() { return &buffer_.at<Byte>(0); }

    /// Be set to a device of an ARM driver with one byte at an address.
    void setArmDevice(Integer modelType, Long bytes, Long blockBytes) {
        at<Integer>("modeltype") = modelType;
        at<Byte>("selmode") = 0x40;
        at<Byte>("figvol", 1) = 1;
        at<Byte>("wsign", 1) = 1;
        at<Byte>("wordmode") = 1;
        at<Long>("ramlg") = blockBytes;
        at<Long>("tlength") = bytes;
        setText("algorithm", 1, L"family");
        setText("algorithm", 2, L"part");
    }
    /// Be set to a device that the session window drives, with its sequence of operations.
    void setPinDrivenDevice(Integer modelType, Long addresses, Byte addressBytes, const std::vector<Byte> &sequence) {
        at<Integer>("modeltype") = modelType;
        at<Byte>("wordmode") = addressBytes;
        at<Long>("tlength") = addresses;
        at<Integer>("bvcc") = 500;
        at<Byte>("bgndpin") = 8;
        at<Byte>("wautonum") = static_cast<Byte>(sequence.size());
        std::copy(sequence.begin(), sequence.end(), &at<Byte>("autoprg"));
    }

    /// The plug-in's object, attached to the blocks.
    com::ComPtr<::_clsMPU> plugIn() {
        auto mpu = createByName<::_clsMPU>(L"kx3mpu6.clsMPU");
        SHORT number = instance_;
        EXPECT_TRUE(mpu && mpu->bufcommpu6(&number) == S_OK);
        return mpu;
    }
    HRESULT run(::_clsMPU &mpu, Byte operation) {
        at<Byte>("prgresult", 0) = 0;
        at<Byte>("prgresult", 1) = operation;
        setText("MainRtstr", 0, L"");
        VARIANT_BOOL usbenable = VARIANT_TRUE;
        const HRESULT status = mpu.runMpu6Prg(&usbenable);
        EXPECT_EQ(usbenable, VARIANT_TRUE);
        return status;
    }
    std::wstring log() { return at<BSTR>("MainRtstr") == nullptr ? L"" : at<BSTR>("MainRtstr"); }

  private:
    SHORT instance_;
    std::map<std::string, std::unique_ptr<HostBlock>> blocks_;
    HostBlock buffer_;
};

/// Carries out what the session window announces, from the message loop that runs in its yields: a
/// message that comes back looks at the state cell, until `most` operations are done.
class AnnouncementWatch {
  public:
    AnnouncementWatch(SuiteHost &host, Programmer &programmer, std::size_t most)
        : host_(host), programmer_(programmer), most_(most) {
        window_ = ::CreateWindowExW(0, L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        ::SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        ::SetWindowLongPtrW(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&receive));
        (void)taken();
    }
    ~AnnouncementWatch() { ::DestroyWindow(window_); }
    AnnouncementWatch(const AnnouncementWatch &) = delete;
    AnnouncementWatch &operator=(const AnnouncementWatch &) = delete;

    /// Operations carried out since the last call; looks for more from now on.
    std::vector<Byte> taken() {
        ::PostMessageW(window_, look, 0, 0);
        return std::exchange(taken_, {});
    }

  private:
    static constexpr UINT look = WM_APP;
    static constexpr Byte announced = 1, finished = 100;

    static LRESULT CALLBACK receive(HWND window, UINT message, WPARAM word, LPARAM number) {
        if (message != look) return ::DefWindowProcW(window, message, word, number);
        auto *watch = reinterpret_cast<AnnouncementWatch *>(::GetWindowLongPtrW(window, GWLP_USERDATA));
        watch->carryOut();
        if (watch->taken_.size() < watch->most_) ::PostMessageW(window, look, 0, 0);
        return 0;
    }
    void carryOut() {
        Byte &state = host_.at<Byte>("prgmode", 1);
        if (state != announced) return;
        state = finished;
        const Byte single = host_.at<Byte>("prgresult", 1);
        taken_.push_back(single != 0 ? single : host_.at<Byte>("autoprg", taken_.size()));
        programmer_.carryOut(taken_.back());
    }

    SuiteHost &host_;
    Programmer &programmer_;
    std::size_t most_;
    HWND window_;
    std::vector<Byte> taken_;
};

} // namespace kx3::test
