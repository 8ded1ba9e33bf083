// The kinds of nodes of the Graph API, and the fields that each has.
#include "services/facebook/node_types.h"

#include <algorithm>

#include "net/text.h"

namespace velk::sandbox::facebook {
namespace {

struct Known {
  std::string_view kind, name, defaults;
  std::string_view fields;  // all, whether the sandbox has a value for them or not
};

constexpr Known kKnown[] = {
    {"user", "User", "id name",
     "about age_range birthday client_business_id community cover currency education email "
     "favorite_athletes favorite_teams first_name gender hometown id inspirational_people install_type "
     "installed is_guest_user is_work_account languages last_name link "
     "local_news_megaphone_dismiss_status local_news_subscription_status locale location meeting_for "
     "middle_name name name_format payment_pricepoints permissions picture political profile_pic "
     "quotes relationship_status religion shared_login_upgrade_required_by short_name "
     "significant_other sports supports_donate_button_in_live_video third_party_id timezone "
     "token_for_business updated_time verified video_upload_limits website"},
    {"page", "Page", "id name",
     "about access_token ad_campaign affiliation app_id artists_we_like attire "
     "available_promo_offer_ids awards band_interests band_members best_page bio birthday "
     "booking_agent breaking_news_usage built business can_checkin can_post category category_list "
     "checkins company_overview connected_instagram_account connected_page_backed_instagram_account "
     "contact_address copyright_attribution_insights copyright_whitelisted_ig_partners "
     "country_page_likes cover culinary_team current_location delivery_and_pickup_option_info "
     "description description_html differently_open_offerings directed_by display_subtext "
     "displayed_message_response_time does_viewer_have_page_permission_link_ig emails engagement "
     "fan_count featured_video features followers_count food_styles founded general_info "
     "general_manager genre global_brand_page_name global_brand_root_id has_added_app has_lead_access "
     "has_transitioned_to_new_page_experience has_whatsapp_business_number has_whatsapp_number "
     "hometown hours id impressum influences instagram_business_account is_always_open "
     "is_calling_eligible is_chain is_community_page is_eligible_for_branded_content "
     "is_eligible_for_disable_connect_ig_btn_for_non_page_admin_am_web "
     "is_messenger_bot_get_started_enabled is_messenger_platform_bot is_owned is_permanently_closed "
     "is_published is_unclaimed is_verified is_webhooks_subscribed keywords "
     "leadgen_tos_acceptance_time leadgen_tos_accepted leadgen_tos_accepting_user link location "
     "members merchant_id merchant_review_status messaging_feature_status "
     "messenger_ads_default_icebreakers messenger_ads_default_quick_replies "
     "messenger_ads_quick_replies_type mini_shop_storefront mission mpg name "
     "name_with_location_descriptor network new_like_count offer_eligible overall_star_rating "
     "owner_business page_token parent_page parking payment_options perms personal_info "
     "personal_interests pharma_safety_info phone pickup_options picture place_type plot_outline "
     "preferred_audience press_contact price_range privacy_info_url produced_by products "
     "promotion_eligible promotion_ineligible_reason public_transit rating_count recipient "
     "record_label release_date restaurant_services restaurant_specialties schedule screenplay_by "
     "season single_line_address starring start_info store_code store_location_descriptor store_number "
     "studio supports_donate_button_in_live_video talking_about_count tasks temporary_status "
     "unread_message_count unread_notif_count unseen_message_count user_access_expire_time username "
     "verification_status voip_info website were_here_count whatsapp_number written_by"},
    {"photo", "Photo", "created_time id name",
     "album alt_text alt_text_custom backdated_time backdated_time_granularity can_backdate can_delete "
     "can_tag created_time event from height icon id images link name name_tags page_story_id picture "
     "place position privacy source target updated_time webp_images width"},
    {"video", "Video", "updated_time description id",
     "ad_breaks backdated_time backdated_time_granularity captions content_category content_tags "
     "created_time custom_labels description embed_html embeddable event format from icon id "
     "is_crosspost_video is_crossposting_eligible is_episode is_instagram_eligible is_reference_only "
     "length live_audience_count live_status permalink_url picture place post_id post_views "
     "premiere_living_room_status privacy published scheduled_publish_time source spherical status "
     "thumbnails title universal_video_id updated_time views"},
    {"story", "Post", "created_time message id story",
     "actions admin_creator allowed_advertising_objectives application attachments backdated_time "
     "call_to_action can_reply_privately caption child_attachments comments_mirroring_domain "
     "coordinates created_time description event expanded_height expanded_width feed_targeting from "
     "full_picture height icon id instagram_eligibility is_app_share is_eligible_for_promotion "
     "is_expired is_hidden is_inline_created is_instagram_eligible is_popular is_published "
     "is_spherical link message message_tags multi_share_end_card multi_share_optimized name object_id "
     "parent_id permalink_url picture place privacy promotable_id promotion_status properties "
     "scheduled_publish_time shares source status_type story story_tags subscribed target targeting "
     "timeline_visibility to type updated_time via video_buying_eligibility width"},
    {"comment", "Comment", "created_time from message id",
     "admin_creator application attachment can_comment can_hide can_like can_remove "
     "can_reply_privately comment_count created_time from id is_hidden is_private like_count "
     "live_broadcast_timestamp message message_tags object parent permalink_url "
     "private_reply_conversation user_likes"},
};

// Lists that lead to other nodes, which every kind may have.
constexpr std::string_view kOtherEdges =
    "albums attachments events insights likes live_videos permissions picture reactions sharedposts tagged "
    "tags";

const Known& Find(std::string_view kind) { return *std::ranges::find(kKnown, kind, &Known::kind); }

bool Contains(std::string_view names, std::string_view name) {
  const std::vector<std::string> list = Split(names, ' ');
  return std::ranges::find(list, name) != list.end();
}

}  // namespace

std::string TypeName(std::string_view kind) { return std::string(Find(kind).name); }

std::vector<std::string> DefaultFields(std::string_view kind) { return Split(Find(kind).defaults, ' '); }

bool HasField(std::string_view kind, std::string_view field) {
  const Known& known = Find(kind);
  return Contains(known.fields, field) || Contains(known.defaults, field) || Contains(kOtherEdges, field);
}

}  // namespace velk::sandbox::facebook
