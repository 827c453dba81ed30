/* The entry points whose subject the engine does not have yet, a line each, with the documented failure that
   they answer. A line that goes away must be replaced by a definition, or the library does not link. */
#ifndef KILN_ENGINE_API_PENDING_H_
#define KILN_ENGINE_API_PENDING_H_

/* Scanned materials. */
#define PENDING_Kiln_BRDFScannedParams_initialize ~, ZeroRecord(params, size)
#define PENDING_Kiln_KiScansPresets_reset ~, ZeroRecord(preset, size)
#define PENDING_Kiln_encodeBRDFScannedParams ~, 0
#define PENDING_Kiln_KiScanInfo_create ~, nullptr
#define PENDING_Kiln_KiScanInfo_delete ~,
#define PENDING_Kiln_KiScanInfo_getInfoString ~, 0
#define PENDING_Kiln_KiScanInfo_getPreset ~, 0

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

/* Mesh files. */
#define PENDING_Kiln_ProxyCommon_readProxyPreview ~, 0
#define PENDING_Kiln_ProxyCommon_readProxyPrepare ~, 0
#define PENDING_Kiln_ProxyCommon_readProxyFinalize ~, 0
#define PENDING_Kiln_ProxyCommon_readProxyFullPrepare ~, 0
#define PENDING_Kiln_ProxyCommon_readProxyFullFinalize ~, 0
#define PENDING_Kiln_ProxyCommon_createProxyFile ~, 1
#define PENDING_Kiln_KilnRenderer_readProxyPreview ~, 0
#define PENDING_Kiln_KilnRenderer_readProxyPrepare ~, 0
#define PENDING_Kiln_KilnRenderer_readProxyFinalize ~, 0
#define PENDING_Kiln_KilnRenderer_readProxyFullPrepare ~, 0
#define PENDING_Kiln_KilnRenderer_readProxyFullFinalize ~, 0
#define PENDING_Kiln_KilnRenderer_createProxyFile ~, 1

/* OSL. */
#define PENDING_Kiln_getOSLParameters ~, 1

/* Distributed rendering. */
#define PENDING_Kiln_KilnRenderer_setDREnabled ~, 1
#define PENDING_Kiln_KilnRenderer_getDREnabled ~, 0
#define PENDING_Kiln_KilnRenderer_enableDRClient ~, 1
#define PENDING_Kiln_KilnRenderer_disableDRClient ~, 1
#define PENDING_Kiln_KilnRenderer_isDRClientEnabled ~, 0
#define PENDING_Kiln_KilnRenderer_clientAddHosts ~, -1
#define PENDING_Kiln_KilnRenderer_clientRemoveHosts ~, -1
#define PENDING_Kiln_KilnRenderer_clientResetHosts ~, -1
#define PENDING_Kiln_KilnRenderer_clientGetAllHosts ~, nullptr
#define PENDING_Kiln_KilnRenderer_clientGetActiveHosts ~, nullptr
#define PENDING_Kiln_KilnRenderer_clientGetInactiveHosts ~, nullptr
#define PENDING_Kiln_KilnServer_create ~, nullptr
#define PENDING_Kiln_KilnServer_start ~, 0
#define PENDING_Kiln_KilnServer_run ~, 0
#define PENDING_Kiln_KilnServer_stop ~, 0
#define PENDING_Kiln_KilnServer_release ~,
#define PENDING_Kiln_KilnServer_setServerStartCallback ~,
#define PENDING_Kiln_KilnServer_setConnectCallback ~,
#define PENDING_Kiln_KilnServer_setDisconnectCallback ~,
#define PENDING_Kiln_KilnServer_setDumpMessageCallback ~,
#define PENDING_Kiln_KilnServer_setProgressCallback ~,
#define PENDING_Kiln_KilnServer_setServerCloseCallback ~,
#define PENDING_Kiln_KilnServer_setUserData ~, 1
#define PENDING_Kiln_KilnServer_getUserData ~, nullptr
#define PENDING_Kiln_KilnServer_addHosts ~, -1
#define PENDING_Kiln_KilnServer_removeHosts ~, -1
#define PENDING_Kiln_KilnServer_resetHosts ~, -1
#define PENDING_Kiln_KilnServer_getAllHosts ~, nullptr
#define PENDING_Kiln_KilnServer_getActiveHosts ~, nullptr
#define PENDING_Kiln_KilnServer_getInactiveHosts ~, nullptr
#define PENDING_Kiln_checkDRHost ~, nullptr

/* Side features. */

/* Material library. */
#define PENDING_KiMat_init ~, 0
#define PENDING_KiMat_unload ~,
#define PENDING_KiMat_getMaterialList ~, nullptr
#define PENDING_KiMat_getEncodedThumbnail ~, 0
#define PENDING_KiMat_getDecodedThumbnail ~, nullptr

/* Scene graph and utilities. */
#define PENDING_Util_getParentPlugins ~, 0
#define PENDING_Util_getChildPlugins ~, 0
#define PENDING_Util_getIESPrescribedIntensity ~, 0

#endif
