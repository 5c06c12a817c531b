// A host with its blocks, the simulated programmer, and a plug-in on an outside that can fail.
#pragma once

#include "host/apartment.h"
#include "host/mpu.h"
#include "outside.h"
#include "scenario.h"

#include <filesystem>

namespace kx3::torture {

using Bytes = std::vector<Byte>;

/// Blocks of this process, and files in a folder of its own, which is the current directory.
class Workplace {
  public:
    explicit Workplace(const std::string &name);
    ~Workplace();
    Workplace(const Workplace &) = delete;
    Workplace &operator=(const Workplace &) = delete;

  private:
    std::filesystem::path home_;
    std::filesystem::path folder_;
};

/// Names of this workplace's blocks that exist now.
[[nodiscard]] std::size_t blockNames();

/// Everything that the oracle looks at.
struct Outcome {
    kx3sim::Signal signal = kx3sim::Signal::none;
    bool raised = false;
    ErrorNumber error{};
    std::u16string failure; ///< of an ARM session
    std::u16string log;
    Bytes chip; ///< all areas, and whether it is protected
    Bytes buffer;
    int boxes = 0;
    bool attached = false; ///< all main blocks, and the buffer
    std::size_t names = 0; ///< blocks that exist, after attaching alone
    std::uint64_t digest = 0;
    std::vector<Point> calls;
    std::uint64_t allocations = 0;
    bool struck = false;
    std::string objection; ///< a promise that was broken on the way
};

class World final : public Scene {
  public:
    explicit World(const Device &device);
    ~World() override;
    World(const World &) = delete;
    World &operator=(const World &) = delete;

    /// Play `scenario` from its start with these faults. A run that goes far beyond `budget` calls
    /// is brought to its end.
    Outcome play(const Scenario &scenario, std::vector<Planned> plan, std::size_t budget);
    /// The same without faults, on the chip as it is.
    kx3sim::Signal playOn(const Scenario &scenario);
    /// The buffer before a run.
    [[nodiscard]] const Bytes &buffer() const noexcept { return image_; }

    void flip(std::uint64_t offset, Byte bit);
    [[nodiscard]] const kx3sim::SessionHost &programmer() const noexcept { return *sim_; }

    sharemap &hostBlocks() override { return host_; }
    void duringYield() override;
    void actOn(Form &form) override;
    void reenter() override;

  private:
    struct Library;

    void prepare(const Scenario &scenario, bool freshChip);
    Outside outside();
    void fillBlocks();
    void saveBlocks();
    void insertChip(ChipState state);
    [[nodiscard]] Bytes chipContents();
    void act(const Scenario &scenario);
    void refused(const char *what, const std::function<void()> &call);

    const Device device_;
    platform::DynamicLibrary library_{"kx6io"};
    platform::DynamicLibrary textLibrary_{"kx3io"};
    std::unique_ptr<Library> functions_;
    std::shared_ptr<kx3sim::SessionHost> sim_;
    sharemap host_;
    FaultyIo *io_ = nullptr;
    FaultyUi *ui_ = nullptr;
    Apartment apartment_;
    std::optional<clsMPU> mpu_;
    Bytes image_;
    Bytes programmed_; ///< main memory and configuration of a chip that the image was programmed into
    std::vector<std::pair<std::span<std::byte>, std::vector<std::byte>>> saved_;
    const Scenario *scenario_ = nullptr;
    std::size_t step_ = 0;
    std::string objection_;
};

} // namespace kx3::torture
