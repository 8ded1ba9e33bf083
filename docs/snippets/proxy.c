// One short example for each function of the proxy group. The tests compile them.
#include <stdio.h>
#include <velk_upload.h>

void UseProxy(void);
void ShowProxy(void);

void UseProxy(void) {
  //! [SetLibVelkUploadProxy]
  SetLibVelkUploadProxy("http://127.0.0.1:8080");
  //! [SetLibVelkUploadProxy]
}

void ShowProxy(void) {
  //! [GetLibVelkUploadProxy]
  char proxy[256];
  const int32_t size = sizeof proxy;
  if (GetLibVelkUploadProxy(proxy, &size) == VELK_OK) puts(*proxy ? proxy : "no proxy");
  //! [GetLibVelkUploadProxy]
}
