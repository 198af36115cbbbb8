#pragma once

#include "pinpad/pinpad.h"

#include <dlfcn.h>
#include <stdexcept>
#include <string>

/// The built shared library, loaded as a host would load it.
class Library {
    static void *load() {
        void *handle = dlopen(PINPAD_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) {
            throw std::runtime_error(dlerror());
        }
        return handle;
    }

    // Never unloaded: it may hold a session.
    void *m_handle = load();

    template <typename Function>
    Function find(const char *name) {
        void *symbol = dlsym(m_handle, name);
        if (symbol == nullptr) {
            throw std::runtime_error(std::string("no export ") + name);
        }
        return reinterpret_cast<Function>(symbol);
    }

public:
    decltype(&PP_Open) open = find<decltype(&PP_Open)>("PP_Open");
    decltype(&PP_Close) close = find<decltype(&PP_Close)>("PP_Close");
    decltype(&PP_CloseExtended) closeExtended =
        find<decltype(&PP_CloseExtended)>("PP_CloseExtended");
    decltype(&PP_Abort) abort = find<decltype(&PP_Abort)>("PP_Abort");
    decltype(&abecsGetClearData) getClearData =
        find<decltype(&abecsGetClearData)>("abecsGetClearData");
    decltype(&abecsGetClearDataResponse) getClearDataResponse =
        find<decltype(&abecsGetClearDataResponse)>("abecsGetClearDataResponse");
    decltype(&pcl_exception_set_uncaught_handler) setHandler =
        find<decltype(&pcl_exception_set_uncaught_handler)>("pcl_exception_set_uncaught_handler");
    decltype(&taviskMF_Activate) activate = find<decltype(&taviskMF_Activate)>("taviskMF_Activate");
    decltype(&taviskMF_Authenticate) authenticate =
        find<decltype(&taviskMF_Authenticate)>("taviskMF_Authenticate");
    decltype(&taviskMF_ReadWrite) readWrite =
        find<decltype(&taviskMF_ReadWrite)>("taviskMF_ReadWrite");
    decltype(&taviskMF_ValueCommand) valueCommand =
        find<decltype(&taviskMF_ValueCommand)>("taviskMF_ValueCommand");
    decltype(&taviskMF_BlockConfigGet) blockConfigGet =
        find<decltype(&taviskMF_BlockConfigGet)>("taviskMF_BlockConfigGet");
    decltype(&taviskMF_BlockConfigSet) blockConfigSet =
        find<decltype(&taviskMF_BlockConfigSet)>("taviskMF_BlockConfigSet");
    decltype(&taviskMF_KeyChange) keyChange =
        find<decltype(&taviskMF_KeyChange)>("taviskMF_KeyChange");
    decltype(&taviskQRCode) qrCode = find<decltype(&taviskQRCode)>("taviskQRCode");
    decltype(&taviskQRCode_response) qrCodeResponse =
        find<decltype(&taviskQRCode_response)>("taviskQRCode_response");
    decltype(&taviskSURVEY_Start) surveyStart =
        find<decltype(&taviskSURVEY_Start)>("taviskSURVEY_Start");
    decltype(&taviskSURVEY_Get) surveyGet = find<decltype(&taviskSURVEY_Get)>("taviskSURVEY_Get");
    decltype(&taviskSURVEY_Stop) surveyStop =
        find<decltype(&taviskSURVEY_Stop)>("taviskSURVEY_Stop");
    decltype(&taviskCXSurveys_Start) cxSurveysStart =
        find<decltype(&taviskCXSurveys_Start)>("taviskCXSurveys_Start");
    decltype(&taviskCXSurveys_Get) cxSurveysGet =
        find<decltype(&taviskCXSurveys_Get)>("taviskCXSurveys_Get");
    decltype(&taviskCXSurveys_Stop) cxSurveysStop =
        find<decltype(&taviskCXSurveys_Stop)>("taviskCXSurveys_Stop");
};
