// Where the plug-in finds the algorithm image: below the process's current directory.
#pragma once

#include "profile.h"

#include <filesystem>
#include <kx3mpu6.h>
#include <string>

namespace kx3console {

/// Makes a directory the current one until it ends.
class AlgorithmDirectory {
  public:
    /// `directory` holds the algorithm folders of `driver`; when it is empty a temporary one with a
    /// sample image for the device is made, which the simulated programmer takes for any. Relative
    /// paths of other files must be made absolute before. Fails with Exit::badFile for a directory
    /// that cannot be entered.
    AlgorithmDirectory(std::filesystem::path directory, const Profile &profile, const kx3_driver_info &driver);
    ~AlgorithmDirectory();
    AlgorithmDirectory(const AlgorithmDirectory &) = delete;
    AlgorithmDirectory &operator=(const AlgorithmDirectory &) = delete;

    /// What is wrong with the image that the plug-in rejected, naming the file.
    [[nodiscard]] std::string problem() const;

  private:
    void makeSample();

    std::filesystem::path before_;
    std::filesystem::path temporary_;
    std::filesystem::path directory_;
    std::filesystem::path clockImage_; ///< relative; the plug-in prefers it when it is there
    std::filesystem::path image_;
    std::uintmax_t longestImage_;
};

} // namespace kx3console
