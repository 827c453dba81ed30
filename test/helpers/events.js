'use strict';

// Which record each callback setter's callbacks take (include/renderer.h). A raised event names the fields of its
// record, and `time`; texts and images are made for it and live as long as the callback.

const R = 'Kiln_KilnRenderer_set';
const S = 'Kiln_KilnServer_set';

const EVENTS = {
  [`${R}StateChangedCallback`]: 'KilnStateChangedEvent',
  [`${R}ImageUpdatedCallback`]: 'KilnImageUpdatedEvent',
  [`${R}BucketInitCallback`]: 'KilnBucketEvent',
  [`${R}BucketReadyCallback`]: 'KilnBucketReadyEvent',
  [`${R}BucketFailedCallback`]: 'KilnBucketEvent',
  [`${R}DumpMessageCallback`]: 'KilnMessageEvent',
  [`${R}ProgressCallback`]: 'KilnProgressEvent',
  [`${R}RenderViewChangedCallback`]: 'KilnTextEvent',
  [`${R}RenderLastCallback`]: 'KilnFlagEvent',
  [`${R}RenderInteractiveStartCallback`]: 'KilnFlagEvent',
  [`${R}KVWClosedCallback`]: 'KilnPlainEvent',
  [`${R}PostEffectsUpdatedCallback`]: 'KilnPlainEvent',
  [`${R}ShowMessagesWindowCallback`]: 'KilnPlainEvent',
  [`${R}DRHostConnectedCallback`]: 'KilnTextEvent',
  [`${R}DRHostDisconnectedCallback`]: 'KilnTextEvent',
  [`${R}RendererCloseCallback`]: 'KilnPlainEvent',
  [`${R}KvwContextMenuSelectedCallback`]: 'KilnContextMenuEvent',
  [`${R}LightMixTransferToSceneCallback`]: 'KilnLightMixEvent',
  [`${R}UploadToCollaborationCallback`]: 'KilnUploadEvent',
  [`${S}ServerStartCallback`]: 'KilnPlainEvent',
  [`${S}ConnectCallback`]: 'KilnTextEvent',
  [`${S}DisconnectCallback`]: 'KilnTextEvent',
  [`${S}DumpMessageCallback`]: 'KilnMessageEvent',
  [`${S}ProgressCallback`]: 'KilnProgressEvent',
  [`${S}ServerCloseCallback`]: 'KilnPlainEvent',
};

module.exports = {EVENTS};
