/* The entry points whose subject the engine does not have yet, a line each, with the documented failure that
   they answer. A line that goes away must be replaced by a definition, or the library does not link. */
#ifndef KILN_ENGINE_API_PENDING_H_
#define KILN_ENGINE_API_PENDING_H_

/* The frame-buffer window. */
#define PENDING_Kiln_enableFrameBuffer ~,
#define PENDING_Kiln_KilnRenderer_showFrameBuffer ~, 0
#define PENDING_Kiln_KilnRenderer_isFrameBufferShown ~, 0
#define PENDING_Kiln_KilnRenderer_enableKVWInteractivity ~, 0
#define PENDING_Kiln_KilnRenderer_isKVWInteractivityEnabled ~, 0
#define PENDING_Kiln_KilnRenderer_enableKVWConfirmation ~, 0
#define PENDING_Kiln_KilnRenderer_isKVWConfirmationEnabled ~, 0
#define PENDING_Kiln_KilnRenderer_setKvwPositionAndSize ~, 0
#define PENDING_Kiln_KilnRenderer_getKvwPositionAndSize ~, 0
#define PENDING_Kiln_KilnRenderer_setKvwAlwaysOnTop ~, 0
#define PENDING_Kiln_KilnRenderer_getKvwState ~, 0
#define PENDING_Kiln_KilnRenderer_setKvwState ~, 0
#define PENDING_Kiln_KilnRenderer_resetKvwState ~, 0
#define PENDING_Kiln_KilnRenderer_getKvwPersistentState ~, 0
#define PENDING_Kiln_KilnRenderer_setKvwPersistentState ~, 0
#define PENDING_Kiln_KilnRenderer_getKvwSettings ~, nullptr
#define PENDING_Kiln_KilnRenderer_setKvwSettings ~, 1
#define PENDING_Kiln_KilnRenderer_getKvwLayers ~, nullptr
#define PENDING_Kiln_KilnRenderer_setKvwLayers ~, 1
#define PENDING_Kiln_KilnRenderer_loadKvwColorCorrectionsPreset ~, 0
#define PENDING_Kiln_KilnRenderer_saveKvwColorCorrectionsPreset ~, 0
#define PENDING_Kiln_KilnRenderer_setKvwTitlePrefix ~, 0
#define PENDING_Kiln_KilnRenderer_setKvwProjectPath ~, 0
#define PENDING_Kiln_KilnRenderer_enableKvwProgressBar ~, 0
#define PENDING_Kiln_KilnRenderer_setKvwProgressText ~, 0
#define PENDING_Kiln_KilnRenderer_setKvwProgressValue ~, 0
#define PENDING_Kiln_KilnRenderer_setKvwProgressTextAndValue ~, 0
#define PENDING_Kiln_KilnRenderer_setKvwContextMenuItems ~, 0
#define PENDING_Kiln_KilnRenderer_setKvwContextMenuItemValue ~, 0
#define PENDING_Kiln_KilnRenderer_getKvwContextMenuItemValue ~, 0
#define PENDING_Kiln_KilnRenderer_fillSettingsKVW ~, 0
#define PENDING_Kiln_KilnRenderer_applySettingsKVW ~, 0
#define PENDING_Kiln_KilnRenderer_loadKvwImage ~, 0
#define PENDING_Kiln_KilnRenderer_loadKvwBackgroundImage ~, 0
#define PENDING_Kiln_KilnRenderer_clearKvwImage ~, 0
#define PENDING_Kiln_KilnRenderer_logKvwMessage ~, 0
#define PENDING_Kiln_KilnRenderer_saveKvwToFile ~, 1

/* Material library. */
#define PENDING_KiMat_init ~, 0
#define PENDING_KiMat_unload ~,
#define PENDING_KiMat_getMaterialList ~, nullptr
#define PENDING_KiMat_getEncodedThumbnail ~, 0
#define PENDING_KiMat_getDecodedThumbnail ~, nullptr

#endif
