#include "host/MessageBox.h"

const char* MsgDlgTypeName(TMsgDlgType Kind) {
  switch (Kind) {
    case TMsgDlgType::mtError: return "Error";
    case TMsgDlgType::mtInformation: return "Information";
    case TMsgDlgType::mtConfirmation: return "Confirm";
  }
  return "";
}

const char* MsgDlgBtnCaption(TMsgDlgBtn Button) {
  switch (Button) {
    case TMsgDlgBtn::mbYes: return "Yes";
    case TMsgDlgBtn::mbNo: return "No";
    case TMsgDlgBtn::mbOK: return "OK";
    case TMsgDlgBtn::mbCancel: return "Cancel";
    case TMsgDlgBtn::mbNoToAll: return "No to All";
    case TMsgDlgBtn::mbYesToAll: return "Yes to All";
  }
  return "";
}
