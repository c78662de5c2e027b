#pragma once

#include <dmn/dmn.h>

/// The service. Its work is a placeholder: once a minute it logs that it is there.
class CMyService : public dmn::CService {
public:
    using CService::CService;

    void run() override;
};
