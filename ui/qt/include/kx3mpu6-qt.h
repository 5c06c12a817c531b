/* kx3mpu6-qt: the plug-in's dialogs and message boxes drawn with Qt 6 Widgets, for any native host.
 *
 * A host hands these functions to the plug-in as its callbacks:
 *
 *     kx3_ui ui = {.struct_size = sizeof ui};
 *     ui.yield = kx3_qt_yield;
 *     ui.message_box = kx3_qt_message_box;
 *     ui.show_form = kx3_qt_show_form;
 *     kx3_set_ui(&ui);
 *
 * They need no context. A host that has a QApplication calls the plug-in on that application's
 * thread; for a host without one, the first call makes it, and that thread is the one to stay on.
 */
#ifndef KX3MPU6_QT_H
#define KX3MPU6_QT_H

#include <kx3mpu6.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Make ready to draw. NULL when that is so; otherwise the reason why nothing can be drawn, UTF-8, such
 * as a display that is missing or does not answer. May be called again at any time. */
KX3_API const char *kx3_qt_start(void);

/* Members of kx3_ui. They call kx3_qt_start themselves and fail with KX3_NOT_AVAILABLE and its reason. */
KX3_API kx3_status kx3_qt_yield(void *context);
KX3_API kx3_status kx3_qt_message_box(void *context, const uint16_t *prompt, size_t prompt_length, int32_t style,
                                      const uint16_t *title, size_t title_length, int32_t *button);
KX3_API kx3_status kx3_qt_show_form(void *context, kx3_form *form);

#ifdef __cplusplus
}
#endif

#endif
