#pragma once
// The UPnP object class of a media object: the text of its property upnp:class.

#include <cstdint>

#include "server/common/upnp_database.h"

/// The class texts known to the store, in its order.
inline constexpr const char* upnp_database_classes[] = {
    "object.item.imageItem.photo",
    "object.item.audioItem.musicTrack",
    "object.item.audioItem.audioBroadcast",
    "object.item.videoItem.movie",
    "object.item.videoItem.classified.movie",
    "object.container",
    "object.container.playlistContainer",
    "object.container.musicContainer",
    "object.container.pictureContainer",
    "object.container.videoContainer",
    "object.container.storageFolder",
    "object.container.album.musicAlbum",
    "object.container.album.photoAlbum",
    "object.container.person.musicArtist",
    "object.item",
    "object.container.genre.musicGenre",
    "object.item.videoItem.videoBroadcast",
};

/// Each returns 1 if the object's class text contains ".container", "online", "image", "video" or "audio"
/// anywhere, else 0, also for an object without a class or with a deleted one.
[[nodiscard]] int32_t upnp_database_object_is_container(const MediaObject* object);
[[nodiscard]] int32_t upnp_database_object_is_online(const MediaObject* object);
[[nodiscard]] int32_t upnp_database_object_is_image(const MediaObject* object);
[[nodiscard]] int32_t upnp_database_object_is_video(const MediaObject* object);
[[nodiscard]] int32_t upnp_database_object_is_audio(const MediaObject* object);
