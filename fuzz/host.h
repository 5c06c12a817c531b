// The process's plug-in on fakes, whose blocks start each run alike.
#pragma once

#include "forms/form.h"
#include "input.h"
#include "rig/apartment.h"
#include "rig/blocks.h"
#include "rig/folder.h"

namespace kx3::fuzz {

class Host : private test::Workplace, public test::TestApartment {
  public:
    Host() {
        attach(test::Device{.addresses = 0x4000});
        host.tlength(0) = host.ramlg(0) = 0x100;
        host.figvol(1) = 1; // a signature packet is sent, too
        saved_.emplace(host);
    }
    /// The process's host, with all blocks as they were.
    static Host &fresh() {
        static Host instance;
        instance.saved_->restore();
        instance.ui->boxes.clear();
        instance.ui->yields = 0;
        instance.sessionHost->calls.clear();
        return instance;
    }
    /// Run `call`; only the plug-in's own errors may come out.
    template <class Call> static bool succeeds(Call call) {
        try {
            call();
            return true;
        } catch (const Error &) {
            return false;
        }
    }

    /// A model of each driver.
    static Integer anyModel(Input &input) {
        constexpr Integer models[] = {windowModel, test::modelArm, test::model32f};
        return models[input.below(std::size(models))];
    }
    static void clickOk(Form &form) {
        form.click(*form.defaultButton());
        form.close();
    }
    static constexpr Integer windowModel = 40;

  private:
    std::optional<test::SavedBlocks> saved_;
};

} // namespace kx3::fuzz
